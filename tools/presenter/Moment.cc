#include "Moment.h"

namespace presenter {

V3 elbowFor(V3 sh, V3 w, bool right) { // two-bone arm, elbow down and a little outwards
    const float a = 30.f, b = 27.f;
    V3 d = w - sh;
    float L = std::min(len(d), (a + b) * .995f);
    V3 u = norm(d);
    float x = (a * a - b * b + L * L) / (2 * L), h = std::sqrt(std::max(0.f, a * a - x * x));
    V3 pole{right ? -.42f : .42f, -1, -.12f};
    pole = norm(pole - u * dot(pole, u));
    return sh + u * x + pole * h;
}

Quat mirrored(Quat q) {
    return {q.w, q.x, -q.y, -q.z};
}

Presenter presenterFor(uint64_t seed) {
    Presenter P;
    P.film.noise = .85f;
    P.film.exposure = .76f;
    P.film.sat = 1.06f;
    if (seed == 1) {
        P.look.tone = .30f;
        P.shape.scale = 1.0f;
        P.watch = true;
        return P;
    }
    Rng g(seed * 131 + 7);
    P.look.tone = g.uni();
    P.look.warm = g.uni(-1, 1);
    P.shape.scale = g.uni(.88f, 1.08f);
    P.shape.girth = g.uni(.92f, 1.08f);
    float v = g.uni(.03f, .4f);
    P.look.cloth = V3(v * g.uni(.4f, 1.3f), v * g.uni(.5f, 1.1f), v * g.uni(.5f, 1.4f));
    P.look.collar = P.look.cloth * 1.1f;
    P.look.hair =
        mix(V3(.012f, .009f, .007f), V3(.16f, .09f, .05f), g.uni() * (1 - .8f * P.look.tone));
    P.look.stubble = g.chance(.5f);
    P.watch = g.chance(.5f);
    P.ring = g.chance(.3f);
    P.sleeve = g.chance(.7f);
    P.cuff = g.uni(3, 12);
    return P;
}

Camera webcam(int w, int h) {
    Camera c;
    c.w = w;
    c.h = h;
    c.f = 949.f * w / 1280.f;
    c.cx = w * .5f;
    c.cy = h * .5f;
    return c;
}

void buildScene(Built& b, const Moment& m, const Presenter& P) {
    b.body.look = P.look;
    b.body.torso = V3(0, 9, -88) + m.headOff * .35f;
    b.body.pos = V3(0, 9, -88) + m.headOff;
    b.body.rot = m.headRot;
    b.body.blink = m.blink;
    b.body.smile = m.smile;
    b.body.gazeX = m.gazeX;
    b.body.gazeY = m.gazeY;
    for (int i = 0; i < 2; i++) {
        bool right = i == 0;
        V3 sh = b.body.torso + V3(right ? -15.5f : 15.5f, -22.8f, -5);
        V3 w = m.hand[i].pos;
        float reach = len(w - sh);
        if (reach > 56.f) sh += norm(w - sh) * (reach - 56.f); // shoulder follows a long reach
        V3 el = m.hand[i].useElbow ? m.hand[i].elbow : elbowFor(sh, w, right);
        b.body.sh[i] = sh;
        b.body.el[i] = el;
        b.on[i] = m.hand[i].present;
        HandGeom& g = b.g[i];
        g.sleeve = P.sleeve;
        g.cuff = P.cuff;
        g.sleeveEase = P.ease;
        g.watch = P.watch && !right;
        g.ring = P.ring && !right;
        g.build(m.hand[i].pose, P.shape, w, right ? m.hand[i].rot : mirrored(m.hand[i].rot), right,
                el);
    }
}

void renderMoment(const Moment& m, const Moment& before, const Moment& after, const Presenter& P,
                  const Camera& cam, const std::vector<V3>& room, uint64_t noiseSeed, Frame& f,
                  Layer* L, bool withBody) {
    Built& b = f.scene;
    buildScene(b, m, P);
    static thread_local Built b0, b1;
    buildScene(b0, before, P);
    buildScene(b1, after, P);
    const HandGeom* arms[2];
    int n = 0;
    for (int i = 0; i < 2; i++)
        if (b.on[i]) arms[n++] = &b.g[i];
    Layer& body = L[2];
    body.reset(cam.w, cam.h);
    if (withBody) renderBody(body, cam, b.body, P.lights, arms, n);
    for (int i = 0; i < 2; i++) {
        L[i].reset(cam.w, cam.h);
        if (!b.on[i]) continue;
        renderArm(L[i], cam, b.g[i], P.look, P.lights, b.on[1 - i] ? &b.g[1 - i] : nullptr);
        std::vector<V3> pos, vel;
        float ax, ay, bx, by, x, y;
        auto add = [&](V3 p, V3 q0, V3 q1) {
            cam.project(p, x, y);
            cam.project(q0, ax, ay);
            cam.project(q1, bx, by);
            pos.push_back({x, y, 0});
            vel.push_back({bx - ax, by - ay, 0});
        };
        for (int k = 0; k < 21; k++)
            add(b.g[i].k.j[k], b0.g[i].k.j[k], b1.g[i].k.j[k]);
        add(mix(b.g[i].W, b.g[i].E, .5f), mix(b0.g[i].W, b0.g[i].E, .5f),
            mix(b1.g[i].W, b1.g[i].E, .5f));
        motionBlur(L[i], pos, vel);
    }
    std::vector<V3> im = room;
    for (size_t o = 0; o < im.size(); o++) { // back to front: room, body, far arm, near arm
        V3 c = im[o];
        c = c * (1 - body.a[o]) + body.c[o];
        int a = L[0].z[o] > L[1].z[o] ? 0 : 1;
        for (int i : {a, 1 - a})
            if (L[i].a[o] > 0 && L[i].z[o] < body.z[o] + 1.5f) c = c * (1 - L[i].a[o]) + L[i].c[o];
        im[o] = c;
    }
    Film film = P.film;
    film.seed = noiseSeed;
    film.develop(im, cam.w, cam.h, f.rgb);
}

} // namespace presenter
