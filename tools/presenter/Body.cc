#include "Body.h"

namespace presenter {

namespace {

float pnoise(V3 h, float o) {
    return noise3(h * 5.f + V3(o, o * .5f, 0));
}

} // namespace

V3 Body::headLocal(V3 p) const {
    return rot.conj() * (p - pos) * (1 / headScale);
}

float Body::head(V3 h, int& mat, float* hairDist) const {
    const float bound = len(h - V3(0, 1.6f, -.8f)) - 14.f,
                neck = sdCapsule(h, {0, -7.5f, -2.6f}, {0, -16.f, -4.2f}, 5.0f, 5.6f);
    mat = 0;
    if (bound > 1.8f) return std::min(bound, neck) * headScale;
    V3 m{std::fabs(h.x), h.y, h.z};
    float d = sdEllipsoid(h - V3(0, 4.2f, -1.6f), {7.5f, 8.4f, 9.2f});
    d = smin(d, sdEllipsoid(h - V3(0, -2.3f, 1.9f), {5.9f, 8.3f, 6.6f}), 2.5f);
    d = smin(d, sdCapsule(m, {5.15f, -3.6f, -.6f}, {2.0f, -9.0f, 4.6f}, 1.6f, 1.35f), 2.6f); // jaw
    d = smin(d, len(h - V3(0, -9.2f, 5.3f)) - 1.55f, 2.0f);                                  // chin
    d = smin(d, len(m - V3(3.9f, -1.9f, 5.0f)) - 2.1f, 2.4f);                         // cheekbone
    d = smin(d, sdCapsule(m, {0, 2.35f, 7.2f}, {4.3f, 2.4f, 5.6f}, .85f, .8f), 1.4f); // brow ridge
    d = smax(d, -(sdEllipsoid(m - V3(3.2f, .55f, 8.5f), {1.75f, 1.15f, 1.75f})), 1.1f); // orbit
    d = smin(d, len(m - V3(3.15f, .5f, 5.75f)) - 1.36f, .35f); // eyeball with lids
    d = smin(d, sdCapsule(h, {0, 1.4f, 7.3f}, {0, -2.3f, 9.2f}, .62f, .95f), .9f); // nose
    d = smin(d, len(h - V3(0, -2.55f, 9.35f)) - .98f, .5f);
    d = smin(d, len(m - V3(1.2f, -2.85f, 8.35f)) - .78f, .6f);
    float up = .9f * smile * sq(m.x / 2.6f);
    auto lips = [&](float y, float z, float x1, float y1, float z1, float r0,
                    float r1) { // arc through three points
        return smin(sdCapsule(h, {-.7f, y, z}, {.7f, y, z}, r0, r0),
                    sdCapsule(m, {.7f, y, z}, {x1, y1, z1}, r0, r1), .3f);
    };
    d = smin(d, lips(-5.45f, 7.95f, 2.2f, -5.75f + up, 7.0f, .36f, .16f), .7f);
    d = smin(d, lips(-6.28f, 7.78f, 1.85f, -6.15f + up, 7.05f, .44f, .2f), .7f);
    d = smax(d, -lips(-5.88f, 8.50f, 2.4f, -5.92f + up, 7.65f, .12f, .1f), .3f);
    // ears
    V3 e = m - V3(7.55f, -.4f, -1.2f);
    float ear = sdEllipsoid(e, {.85f, 3.0f, 1.8f});
    ear = smax(ear, -(len(e - V3(.95f, .2f, .5f)) - 1.05f), .5f);
    d = smin(d, ear, .5f);
    d = smin(d, neck, 1.8f);
    // hair: skull cap minus a face opening
    float cap = sdEllipsoid(h - V3(0, 4.9f, -2.0f), {8.15f, 8.75f, 9.75f}),
          top = sdEllipsoid(h - V3(.9f, 10.2f, 1.6f), {6.0f, 3.4f, 6.0f});
    if (std::min(cap, top) < 1.f) {
        float strands = .16f * std::sin(h.x * 1.7f + .9f * h.y + 1.2f * std::sin(h.z * .7f)) +
                        .10f * std::sin(h.x * 3.9f - 1.3f * h.z + h.y);
        cap += strands * .5f;
        top += strands * .9f;
        if (std::fabs(cap) < .4f)
            cap += .07f * std::sin(h.x * 9.f + 2.f * std::sin(h.y * 1.1f) + h.z * 4.f) +
                   .05f * noise3(h * V3(5.f, 1.6f, 4.f));
    }
    cap = smin(cap, top, 3.0f); // a little volume on top
    float open =
        sdEllipsoid(h - V3(-.3f, -2.9f, 9.0f), {7.0f, 9.6f, 9.8f}) + .12f * std::sin(h.x * 2.6f);
    float low = -(h.y + 3.2f + .32f * h.z + .6f * std::sin(h.z * 1.1f)); // nape and temples
    cap = smax(smax(cap, -open, 1.0f), low - 1.5f, 1.2f);
    cap = smax(cap, -(sdEllipsoid(e, {1.6f, 3.2f, 2.3f})), .5f);
    if (hairDist) *hairDist = cap - d;
    if (cap < d) {
        mat = 2;
        d = smin(d, cap, .25f);
    }
    return d * headScale;
}

float Body::cloth(V3 p, V3 t, int* mat) const {
    float b = sdCapsule(t, {-13.5f, -22.5f, -5}, {13.5f, -22.5f, -5}, 5.6f, 5.6f);
    V3 tm{std::fabs(t.x), t.y, t.z};
    b = smin(b, sdCapsule(tm, {4.2f, -17.2f, -5}, {14.f, -21.4f, -5.2f}, 2.9f, 4.2f),
             3.5f); // trapezius
    b = smin(b, sdEllipsoid(t - V3(0, -40.f, -4.f), {18.f, 26.f, 11.5f}), 6.f);
    for (int i = 0; i < 2; i++)
        b = smin(b, sdCapsule(p, sh[i], el[i], 6.2f, upperR), 3.5f);
    b = smin(b, sdCapsule(t, {0, -17.2f, -4.0f}, {0, -25.f, -4.0f}, 6.3f, 7.2f), 3.2f);
    V3 c = t - V3(0, -15.9f, -3.9f);
    V3 cc{c.x, c.y + .38f * c.z, c.z};
    float ring = std::sqrt(sq(std::sqrt(sq(cc.x) + sq(cc.z)) - 6.25f) + sq(cc.y * .72f)) - .62f;
    float neckHole = std::sqrt(sq(cc.x) + sq(cc.z)) - 6.1f;
    b = smax(b, -smax(neckHole, -cc.y - .6f, .4f), .3f);
    b = smax(b, cc.y - .1f - .9f * std::max(0.f, neckHole), .4f);
    if (mat) *mat = ring < b ? 3 : 1;
    return ring < b ? smin(b, ring, .3f) : b;
}

float Body::map(V3 p, int* mat) const {
    V3 t = p - torso;
    // Far below the head and well above the shoulders only one of the two can be the nearest.
    const float headAtLeast = (len(p - pos) - 22.5f * headScale), clothAtLeast = t.y + 8.5f;
    int m = 0;
    float d = 1e9f;
    if (clothAtLeast > 0) {
        d = head(headLocal(p), m);
        if (d < clothAtLeast) {
            if (mat) *mat = m;
            return d;
        }
    }
    const float b = cloth(p, t, mat);
    if (clothAtLeast <= 0 && headAtLeast < b) d = head(headLocal(p), m);
    if (d <= b && mat) *mat = m;
    return std::min(d, b);
}

Surf Body::surface(V3 p, V3& n, int mat) const {
    Surf s;
    V3 h = headLocal(p);
    if (mat == 1 || mat == 3) {
        V3 t = p - torso;
        V3 e{fbm(t * V3(.16f, .10f, .16f) + V3(11, 0, 0), 3),
             fbm(t * V3(.16f, .1f, .16f) + V3(0, 17, 0), 2), fbm(t * .16f + V3(0, 0, 23), 2)};
        float k = noise3(t * 5.f),
              rg = 1 - std::fabs(fbm(t * V3(.11f, .07f, .11f) + V3(2, 5, 3), 2)) * 2.2f;
        V3 dir{noise3(t * .09f + V3(3, 0, 0)), .5f + noise3(t * .08f), 0};
        n = norm(n + e * (mat == 1 ? .46f : .1f) +
                 dir * (mat == 1 ? .30f * std::max(0.f, rg - .35f) : 0.f) +
                 V3(noise3(t * 6.f), k, noise3(t * 6.5f)) * .05f);
        s.albedo = (mat == 3 ? look.collar * .9f : look.cloth) * (1 + .10f * k + .16f * e.x);
        s.spec = .03f;
        s.rough = .8f;
        if (mat == 3) s.albedo = s.albedo * (1 + .12f * std::sin(std::atan2(t.x, t.z + 3) * 60.f));
        return s;
    }
    V3 m{std::fabs(h.x), h.y, h.z};
    if (mat == 2) {
        float st = fbm(V3(h.x * 2.8f + .6f * h.y, h.y * .5f, h.z * 1.3f), 3),
              fine = noise3(V3(h.x * 9.f + 1.5f * h.y, h.y * .7f, h.z * 4.f));
        n = norm(n + (rot * V3(st + .5f * fine, .3f * st, .4f * noise3(h * 3.f))) * .6f);
        s.albedo = look.hair * (1.1f + .75f * st + .45f * fine);
        s.spec = .26f * (1 + .6f * fine);
        s.rough = .46f;
        return s;
    }
    n = norm(n + rot * (V3(pnoise(h, 0), pnoise(h, 31), pnoise(h, 57)) * .045f));
    V3 c = look.skin();
    s.sss = 1;
    s.spec = .34f * look.gloss;
    s.rough = .55f;
    {
        int mm;
        float hd = 9;
        head(h, mm, &hd);
        float k = 1 - smooth(.0f, .75f, hd + .35f * noise3(V3(h.x * 4.f, h.y * 1.3f, h.z * 2.f)));
        c = mix(c, look.hair, k * .9f);
        s.spec *= 1 - k * .6f;
    }
    float mott = fbm(h * .5f, 3), pore = noise3(h * 6.f);
    float red = .10f * mott + .22f * gauss(len(m - V3(4.2f, -2.6f, 6.f)), 2.4f) +
                .26f * gauss(len(h - V3(0, -2.6f, 9.6f)), 1.5f) +
                .2f * gauss(len(m - V3(7.8f, -.3f, -1.f)), 2.2f);
    float frk = smooth(.42f, .75f, noise3(h * 3.1f + V3(9, 4, 2)));
    float dark = .05f * pore - .07f * mott + .06f * frk * gauss(h.y + 1.5f, 3.f) * (1 - look.tone);
    if (h.z > 2) {
        float up = .9f * smile * sq(m.x / 2.6f);
        if (look.stubble) {
            float b = smooth(-2.8f, -5.4f, h.y - .35f * std::max(0.f, m.x - 3)) *
                      smooth(12.5f, 9.f, -h.y);
            dark += b * (.13f + .06f * noise3(h * 8.f));
            red -= .12f * b;
        }
        // lips
        float ux = m.x / 2.45f, lipU = -5.12f + up - .18f * gauss(h.x, .35f) - .42f * ux * ux,
              lipL = -6.88f + up * 1.2f + .75f * ux * ux;
        float lip = smooth(lipL - .12f, lipL + .18f, h.y) *
                    (1 - smooth(lipU - .18f, lipU + .1f, h.y)) * (1 - smooth(.92f, 1.05f, ux));
        c = mix(c, c * V3(.93f, .62f, .62f), lip * .85f);
        s.rough = mix(s.rough, .46f, lip);
        dark += .62f * gauss(h.y - (-5.88f + up), .10f) * (1 - smooth(.85f, 1.08f, ux));
        dark += .25f * gauss(h.y + 7.35f, .35f) * gauss(h.x, 1.6f);
        // nostrils and nasolabial fold
        if (h.z > 7)
            dark +=
                .75f * gauss(len(V3(m.x - .68f, h.y + 3.42f, 0)), .36f) * smooth(.2f, -.5f, n.y);
        float fold = m.x - (1.95f + .36f * (-3.3f - h.y));
        dark += .14f * gauss(fold, .28f) * smooth(-2.8f, -3.6f, h.y) * smooth(-6.6f, -5.2f, h.y);
        // eyebrows
        float bt = (m.x - 1.35f) / 3.4f, by = 2.48f + browUp + 1.15f * bt - 1.2f * bt * bt,
              bw = mix(.42f, .20f, clamp01(bt));
        float brow = gauss(h.y - by - .04f * noise3(V3(h.x * 5, h.y * 3, 0)), bw) *
                     smooth(-.08f, .1f, bt) * (1 - smooth(.9f, 1.08f, bt));
        c = mix(c, look.hair * 1.5f,
                clamp01(brow * 1.2f) *
                    (.74f + .2f * noise3(V3(h.x * 9.f - h.y * 5.f, h.y * 3.f, 1))));
        // eyes
        V3 ec{3.15f, .5f, 0};
        float ex = m.x - ec.x, ey = h.y - ec.y;
        float sx = h.x > 0 ? 1.f : -1.f, w = 1.42f, k = 1 - sq(ex / w);
        float openU = mix(.58f, -.26f, blink) * k - .04f, openL = -.42f * k;
        if (std::fabs(ex) < 1.75f && std::fabs(ey) < 1.4f) {
            float inside =
                k > 0 ? smooth(-.05f, .05f, openU - ey) * smooth(-.05f, .05f, ey - openL) : 0;
            float lash = (k > -.12f ? gauss(ey - openU, .12f + .03f * std::max(0.f, ex)) : 0) *
                         (std::fabs(ex) < w * 1.06f ? 1.f : 0.f);
            dark += .34f * gauss(ey - (.90f * k + .08f), .12f) * (k > 0 ? 1.f : 0.f) *
                    (1 - .7f * blink);                                 // lid fold
            dark += .10f * gauss(len(V3(ex * .7f, ey + .9f, 0)), .7f); // under-eye
            V3 eye{.52f, .49f, .46f};
            float gx = gazeX * sx, r = len(V3(ex - gx, ey - gazeY - .03f, 0));
            eye = eye * (1 - .25f * smooth(.7f, 1.4f, std::fabs(ex)));
            V3 ir = look.iris * (1 + .8f * smooth(.2f, .55f, r));
            float ri = 1 - smooth(.60f, .68f, r), pu = 1 - smooth(.25f, .31f, r);
            eye = mix(eye, ir * (1 - .6f * smooth(.48f, .64f, r)), ri);
            eye = mix(eye, V3(.006f, .006f, .007f), pu);
            eye = eye * (1 - .5f * gauss(ey - openU, .22f));
            float catchl =
                gauss(len(V3(h.x - sx * ec.x - gazeX + .22f, ey - gazeY - .25f, 0)), .13f);
            eye = eye + V3(1, 1, 1) * (.9f * catchl);
            c = mix(c * (1 - clamp01(dark)), eye, inside);
            c = mix(c, V3(.02f, .014f, .012f), clamp01(lash) * .85f * (1 - .25f * inside));
            if (inside > .3f) {
                red = 0;
                dark = 0;
                s.sss = .3f;
                s.rough = .2f;
                s.spec = .5f;
            } else
                dark = 0;
        }
    }
    c = c * (1 - clamp01(std::min(.85f, dark)));
    s.albedo = c * V3(1 + .2f * red, 1 - .42f * red, 1 - .5f * red);
    return s;
}

void Body::faceRect(const Camera& cam, float* r) const {
    float x0 = 1e9f, y0 = 1e9f, x1 = -1e9f, y1 = -1e9f;
    static const V3 pts[] = {{-6.6f, -1, 2},    {6.6f, -1, 2},     {-6.2f, 3, 3.5f},
                             {6.2f, 3, 3.5f},   {0, -10.2f, 5.5f}, {0, 5.6f, 7.3f},
                             {-4.6f, -7.3f, 3}, {4.6f, -7.3f, 3}};
    for (V3 q : pts) {
        float x, y;
        cam.project(pos + rot * (q * headScale), x, y);
        x0 = std::min(x0, x);
        x1 = std::max(x1, x);
        y0 = std::min(y0, y);
        y1 = std::max(y1, y);
    }
    r[0] = x0;
    r[1] = y0;
    r[2] = x1 - x0;
    r[3] = y1 - y0;
}

} // namespace presenter
