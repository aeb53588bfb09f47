#include "Samples.h"

#include <atomic>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>

#include "Compression.h"
#include "Png.h"
#include "RandomScene.h"
#include "Room.h"
#include "Truth.h"

namespace presenter {

namespace {

// A camera whose square picture of cropPx a side shows the hand somewhere near its middle.
Camera cameraAt(const HandGeom& hand, int cropPx, Rng& g) {
    Camera camera;
    camera.w = camera.h = cropPx;
    camera.f = 1000;
    camera.cx = camera.cy = 0;
    const float roll = rad(g.nrm() * 14);
    camera.cr = std::cos(roll);
    camera.sr = std::sin(roll);
    float px[21][2];
    landmarksPx(hand, camera, px);
    float left = 1e9f, top = 1e9f, right = -1e9f, bottom = -1e9f;
    for (const auto& p : px) {
        left = std::min(left, p[0]);
        right = std::max(right, p[0]);
        top = std::min(top, p[1]);
        bottom = std::max(bottom, p[1]);
    }
    const float cover = g.chance(.15f) ? g.uni(.2f, .42f) : g.uni(.42f, .80f);
    const float zoom = cropPx * cover / std::max(right - left, bottom - top);
    camera.f *= zoom;
    camera.cx = cropPx * (.5f + g.uni(-.09f, .09f)) - zoom * .5f * (left + right);
    camera.cy = cropPx * (.5f + g.uni(-.09f, .09f)) - zoom * .5f * (top + bottom);
    return camera;
}

// Writes the picture. → its line of labels.json
std::string renderSample(const Args& a, int number, Layer* layers, Frame& frame) {
    Rng g(a.seed * 1000003ULL + number * 2 + 1);
    const RandomScene scene = randomScene(a.seed, number, g);
    buildScene(frame.scene, scene.moment, scene.presenter);
    const Camera camera = cameraAt(frame.scene.g[scene.side], a.crop, g);
    const auto room = makeRoom(a.crop, a.crop, 100 + g.next() % 1000000, g.uni(),
                               g.chance(.6f) ? g.uni(0, 7) : 0);
    renderMoment(scene.moment, scene.before, scene.after, scene.presenter, camera, room, g.next(),
                 frame, layers, scene.hasBody);
    if (g.chance(.6f)) compress(frame.rgb, a.crop, a.crop, g.uni(3, 22));

    char name[32];
    std::snprintf(name, sizeof name, "%06d.png", number);
    writePng(a.out + "/" + name, frame.rgb, a.crop, a.crop);
    std::ostringstream o;
    const auto putHandOf = [&](const char* key, int side) {
        const HandGeom& hand = frame.scene.g[side];
        o << ",\"" << key << "\":";
        putHand(o, measure(hand, camera), hand, side == 0 ? "right" : "left");
    };
    o << "{\"file\":\"" << name << "\"";
    putHandOf("hand", scene.side);
    if (scene.hasOther()) putHandOf("other", 1 - scene.side);
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
