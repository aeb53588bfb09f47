#include "Samples.h"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "Png.h"
#include "Room.h"
#include "Truth.h"

namespace presenter {

namespace {

// A fist, a pinch, or fingertips that nearly touch: what is easily mistaken for one another.
HandPose closedPose(const std::vector<HandPose>& library, Rng& g) {
    const auto named = [&](PoseName name) { return library[size_t(name)]; };
    if (g.chance(.3f)) return mix(named(PoseName::Fist), named(PoseName::ThumbUp), g.uni(0, .4f));
    const HandPose pinch = g.chance(.75f) ? named(PoseName::PinchClosed) : named(PoseName::Ok);
    return mix(pinch, named(PoseName::PinchOpen), g.chance(.35f) ? 0.f : g.uni(.05f, .6f));
}

// 8x8 block transform with coarse quantisation, to imitate the artefacts of compressed video.
void blocky(std::vector<uint8_t>& rgb, int w, int h, float q) {
    static float C[8][8];
    static bool init = [] {
        for (int k = 0; k < 8; k++)
            for (int n = 0; n < 8; n++)
                C[k][n] = (k ? .5f : .35355339f) * std::cos((2 * n + 1) * k * kPi / 16);
        return true;
    }();
    (void)init;
    for (int by = 0; by + 8 <= h; by += 8)
        for (int bx = 0; bx + 8 <= w; bx += 8) {
            float ycc[3][8][8], t[8][8];
            for (int y = 0; y < 8; y++)
                for (int x = 0; x < 8; x++) {
                    const uint8_t* p = &rgb[(size_t(by + y) * w + bx + x) * 3];
                    float Y = .299f * p[0] + .587f * p[1] + .114f * p[2];
                    ycc[0][y][x] = Y;
                    ycc[1][y][x] = p[2] - Y;
                    ycc[2][y][x] = p[0] - Y;
                }
            for (int c = 0; c < 3; c++) {
                auto& b = ycc[c];
                for (int k = 0; k < 8; k++)
                    for (int x = 0; x < 8; x++) {
                        t[k][x] = 0;
                        for (int n = 0; n < 8; n++)
                            t[k][x] += C[k][n] * b[n][x];
                    }
                for (int k = 0; k < 8; k++)
                    for (int l = 0; l < 8; l++) {
                        float s = 0;
                        for (int n = 0; n < 8; n++)
                            s += C[l][n] * t[k][n];
                        float Q = q * (1 + .35f * (k + l)) * (c ? 1.8f : 1.f);
                        b[k][l] = std::round(s / Q) * Q;
                    }
                for (int y = 0; y < 8; y++)
                    for (int l = 0; l < 8; l++) {
                        t[y][l] = 0;
                        for (int k = 0; k < 8; k++)
                            t[y][l] += C[k][y] * b[k][l];
                    }
                for (int y = 0; y < 8; y++)
                    for (int x = 0; x < 8; x++) {
                        float s = 0;
                        for (int l = 0; l < 8; l++)
                            s += C[l][x] * t[y][l];
                        b[y][x] = s;
                    }
            }
            for (int y = 0; y < 8; y++)
                for (int x = 0; x < 8; x++) {
                    float Y = ycc[0][y][x], b = Y + ycc[1][y][x], r = Y + ycc[2][y][x],
                          g = (Y - .299f * r - .114f * b) / .587f;
                    uint8_t* p = &rgb[(size_t(by + y) * w + bx + x) * 3];
                    auto u = [](float v) {
                        return uint8_t(std::min(255.f, std::max(0.f, v + .5f)));
                    };
                    p[0] = u(r);
                    p[1] = u(g);
                    p[2] = u(b);
                }
        }
}

// Another hand of the same person beside, before or behind the first one, at any angle.
HandState handNear(const HandState& hand, const std::vector<HandPose>& library, Rng& g) {
    HandState other;
    other.present = true;
    other.pose = library[g.next() % size_t(PoseName::Count)];
    other.rot = euler(g.nrm() * 60, g.uni(-180, 180), g.nrm() * 30);
    const float angle = g.uni(-kPi, kPi), distanceCm = g.uni(7, 17);
    other.pos =
        hand.pos + V3(std::cos(angle) * distanceCm, std::sin(angle) * distanceCm, g.uni(-9, 4));
    return other;
}

std::string renderSample(const Args& a, int i, Layer* L, Frame& f) {
    Rng g(a.seed * 1000003ULL + i * 2 + 1);
    Presenter P = presenterFor(a.seed * 977 + i + 2);
    for (float& x : P.shape.fingerLen)
        x = g.uni(.92f, 1.08f);
    P.shape.palmWidth = g.uni(.92f, 1.07f);
    P.shape.palmFlesh = g.uni(.92f, 1.1f);
    P.shape.nail = g.chance(.25f) ? g.uni() : 0;
    P.ease = g.uni(.3f, 1.4f);
    P.look.mottle = g.uni(.4f, 1.6f);
    P.look.gloss = g.uni(.4f, 1.7f);
    // lights
    auto dir = [&](float zmin) {
        V3 d;
        do
            d = norm({g.uni(-1, 1), g.uni(-.3f, 1), g.uni(zmin, 1)});
        while (d.z < zmin);
        return d;
    };
    auto tint = [&](float s) {
        float k = g.uni(-.25f, .25f);
        return V3(1 + k, 1, 1 - k) * s;
    };
    P.lights.keyD = dir(-.1f);
    P.lights.keyC = tint(g.uni(.7f, 3.0f));
    P.lights.fillD = dir(.2f);
    P.lights.fillC = tint(g.uni(.1f, .9f));
    P.lights.rimD = dir(-.9f);
    P.lights.rimC = tint(g.uni(0, 1.4f));
    float am = g.uni(.25f, 1.1f);
    P.lights.up = tint(.55f * am);
    P.lights.down = tint(.3f * am);
    P.film.exposure = g.uni(.55f, 1.15f);
    P.film.noise = g.uni(.3f, 2.6f) * (g.chance(.2f) ? 1.8f : .7f);
    P.film.soft = g.uni(0, 1.2f);
    P.film.sharpen = g.uni(0, .6f);
    P.film.sat = g.uni(.75f, 1.15f);
    P.film.vignette = 0;
    float wb = g.uni(-.13f, .13f);
    P.film.balance = V3(1 + wb, 1, 1 - wb);
    // pose: blend of two named poses plus joint noise
    auto lib = poseLibrary(P.shape);
    bool right = g.chance(.5f);
    int hi = right ? 0 : 1;
    auto pick = [&] {
        static const PoseName fav[] = {PoseName::PinchOpen,   PoseName::PinchClosed,
                                       PoseName::PinchClosed, PoseName::Ok,
                                       PoseName::Open,        PoseName::Relaxed};
        return g.chance(.5f) ? lib[size_t(fav[g.next() % 6])]
                             : lib[g.next() % size_t(PoseName::Count)];
    };
    HandPose A = pick(), B = pick();
    float u = g.chance(.45f) ? 0.f : g.uni();
    HandPose p = mix(A, B, u);
    const bool isClosed = g.chance(.3f);
    if (isClosed) p = closedPose(lib, g);
    float js = isClosed || g.chance(.35f) ? 2.f : g.uni(2, 9);
    for (int k = 0; k < 4; k++) {
        p.abd[k] += g.nrm() * js * .4f;
        p.mcp[k] += g.nrm() * js;
        p.pip[k] += g.nrm() * js;
        p.dip[k] += g.nrm() * js * .6f;
    }
    p.tAbd += g.nrm() * js * .5f;
    p.tPalm += g.nrm() * js * .5f;
    p.tRoll += g.nrm() * js * .5f;
    p.tMcp += g.nrm() * js * .7f;
    p.tIp += g.nrm() * js;
    limitPose(p);
    Moment m;
    HandState& h = m.hand[hi];
    h.pose = p;
    h.present = true;
    // view: mostly palm to the camera, but every side occurs
    float yaw = g.chance(.66f) ? g.nrm() * 32 : g.uni(-180, 180), pitch = g.nrm() * 24 - 8,
          roll = g.chance(.88f) ? g.nrm() * 30 : g.uni(-180, 180);
    h.rot = euler(roll, yaw, pitch);
    float across = g.chance(.8f) ? g.uni(4, 32) : g.uni(-14, 6);
    h.pos = V3(right ? -across : across, g.uni(-24, 6), -g.uni(36, 68));
    m.headOff = V3(g.uni(-12, 12), g.uni(-4, 4), g.uni(-14, 2));
    const bool isBeforeFace = g.chance(.22f);
    if (isBeforeFace) {
        // On the line from the camera to the head, a face's width about it.
        const V3 face = V3(0, 9, -88) + m.headOff + V3(g.uni(-11, 11), g.uni(-13, 9), 0);
        h.pos = face * g.uni(.45f, .75f) + h.rot * V3(0, -9, 0);
    }
    m.headRot = euler(g.nrm() * 6, g.nrm() * 18, g.nrm() * 8);
    m.blink = g.chance(.1f) ? 1.f : 0.f;
    m.smile = g.uni(0, .7f);
    // the other arm rests; the forearm follows the hand with a random bend of the wrist
    m.hand[1 - hi].pos = V3(right ? 24.f : -24.f, -54, -70);
    V3 sh = V3(right ? -15.5f : 15.5f, -13.8f, -93), ik = norm(elbowFor(sh, h.pos, right) - h.pos),
       back = (right ? h.rot : mirrored(h.rot)) * V3(0, -1, 0);
    h.useElbow = true;
    h.elbow = h.pos + norm(ik * .55f + back + V3(g.nrm(), g.nrm(), g.nrm()) * .22f) * 27.f;
    // Numbers of its own, so that the samples with one hand stay what they were.
    Rng second(a.seed * 7919ULL + i * 2 + 1);
    if (second.chance(.2f)) m.hand[1 - hi] = handNear(h, lib, second);
    buildScene(f.scene, m, P);
    bool body = isBeforeFace || g.chance(.6f);
    Moment m0 = m, m1 = m;
    V3 dv{g.nrm(), g.nrm(), g.nrm() * .5f};
    float sp = g.chance(.4f) ? g.uni(0, .5f) : 0;
    m0.hand[hi].pos += dv * -sp;
    m1.hand[hi].pos += dv * sp;
    m0.hand[hi].elbow += dv * -sp;
    m1.hand[hi].elbow += dv * sp;
    Camera cam;
    cam.w = cam.h = a.crop;
    cam.f = 1000;
    cam.cx = cam.cy = 0;
    float rr = rad(g.nrm() * 14);
    cam.cr = std::cos(rr);
    cam.sr = std::sin(rr);
    float px[21][2];
    landmarksPx(f.scene.g[hi], cam, px);
    float x0 = 1e9f, y0 = 1e9f, x1 = -1e9f, y1 = -1e9f;
    for (auto& q : px) {
        x0 = std::min(x0, q[0]);
        x1 = std::max(x1, q[0]);
        y0 = std::min(y0, q[1]);
        y1 = std::max(y1, q[1]);
    }
    const float cover = g.chance(.15f) ? g.uni(.2f, .42f) : g.uni(.42f, .80f);
    float size = std::max(x1 - x0, y1 - y0), k = a.crop * cover / size;
    cam.f *= k;
    cam.cx = a.crop * (.5f + g.uni(-.09f, .09f)) - k * .5f * (x0 + x1);
    cam.cy = a.crop * (.5f + g.uni(-.09f, .09f)) - k * .5f * (y0 + y1);
    auto room = makeRoom(a.crop, a.crop, 100 + g.next() % 1000000, g.uni(),
                         g.chance(.6f) ? g.uni(0, 7) : 0);
    renderMoment(m, m0, m1, P, cam, room, g.next(), f, L, body);
    if (g.chance(.6f)) blocky(f.rgb, a.crop, a.crop, g.uni(3, 22));
    char name[32];
    std::snprintf(name, sizeof name, "%06d.png", i);
    writePng(a.out + "/" + name, f.rgb, a.crop, a.crop);
    std::ostringstream o;
    const auto putHandOf = [&](const char* key, int side) {
        o << ",\"" << key << "\":";
        putHand(o, measure(f.scene.g[side], cam), f.scene.g[side], side == 0 ? "right" : "left");
    };
    o << "{\"file\":\"" << name << "\"";
    putHandOf("hand", hi);
    if (m.hand[1 - hi].present) putHandOf("other", 1 - hi);
    o << "}";
    return o.str();
}

} // namespace

int renderSamples(const Args& a) {
    std::filesystem::create_directories(a.out);
    std::vector<std::string> rows(size_t(a.samples));
    std::atomic<int> next{0};
    std::vector<std::thread> pool;
    for (int t = 0; t < a.threads; t++)
        pool.emplace_back([&] {
            Layer L[3];
            Frame f;
            for (int i; (i = next++) < a.samples;)
                rows[size_t(i)] = renderSample(a, i, L, f);
        });
    for (auto& t : pool)
        t.join();
    std::ofstream o(a.out + "/labels.json");
    o << "[\n";
    for (size_t i = 0; i < rows.size(); i++)
        o << rows[i] << (i + 1 < rows.size() ? ",\n" : "\n");
    o << "]\n";
    return o ? 0 : 1;
}

} // namespace presenter
