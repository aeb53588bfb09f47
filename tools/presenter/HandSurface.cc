#include "HandSurface.h"

namespace presenter {

V3 HandGeom::local(V3 p) const {
    V3 d = p - W;
    float s = 1.f / scale;
    return {dot(d, X) * s, dot(d, Y) * s, dot(d, Z) * s};
}

void HandGeom::cap(int i, V3 a, V3 b, float r0, float r1, float w) {
    V3 d = b - a;
    float l = dot(d, d);
    ax[i] = a.x;
    ay[i] = a.y;
    az[i] = a.z;
    bx[i] = d.x;
    by[i] = d.y;
    bz[i] = d.z;
    inv[i] = 1.f / std::max(1e-6f, l);
    ra[i] = r0 * scale;
    dr[i] = (r1 - r0) * scale;
    waist[i] = 4 * w * scale;
}

void HandGeom::build(const HandPose& pose, const HandShape& sh, V3 wrist, Quat rot, bool right,
                     V3 elbow) {
    shape = sh;
    scale = sh.scale;
    W = wrist;
    E = elbow;
    X = rot * V3(1, 0, 0);
    Y = rot * V3(0, 1, 0);
    Z = rot * V3(0, 0, 1);
    if (!right) X = -X; // rot of a left hand: local +X (thumb) is the mirrored axis
    Skeleton l = solve(pose, sh);
    auto w = [&](V3 p) { return W + (X * p.x + Y * p.y + Z * p.z) * scale; };
    auto wd = [&](V3 p) { return X * p.x + Y * p.y + Z * p.z; };
    for (int i = 0; i < 21; i++) {
        k.j[i] = w(l.j[i]);
        k.nrm[i] = wd(l.nrm[i]);
    }
    for (int i = 0; i < PARTS; i++)
        cap(i, {0, 0, 1e5f}, {0, 0, 1e5f}, 0, 0);
    const float g = sh.girth, pf = sh.palmFlesh, pw = sh.palmWidth;
    static const float R[4][4] = {{1.05f, .955f, .84f, .66f},
                                  {1.07f, .975f, .86f, .68f},
                                  {1.02f, .93f, .82f, .65f},
                                  {.92f, .81f, .71f, .57f}};
    for (int f = 0; f < 4; f++) {
        int b = 5 + 4 * f;
        const V3* J = k.j;
        V3 tip = J[b + 3] - (J[b + 3] - J[b + 2]) * 0.10f;
        cap(FINGER + 3 * f, J[b], J[b + 1], R[f][0] * g, R[f][1] * g, 0.05f * g);
        cap(FINGER + 3 * f + 1, J[b + 1], J[b + 2], R[f][1] * g, R[f][2] * g, 0.045f * g);
        cap(FINGER + 3 * f + 2, J[b + 2], tip, R[f][2] * g, R[f][3] * g, 0.0f);
        // fleshy pads on the palmar side
        V3 n0 = k.nrm[b + 1], n1 = k.nrm[b + 2], n2 = k.nrm[b + 3];
        V3 d0 = J[b + 1] - J[b], d1 = J[b + 2] - J[b + 1], d2 = J[b + 3] - J[b + 2];
        cap(PPAD + f, J[b] + d0 * .42f - n0 * (.32f * scale),
            J[b] + d0 * .74f - n0 * (.30f * scale), .80f * g * R[f][1] / .93f,
            .74f * g * R[f][1] / .93f);
        cap(MPAD + f, J[b + 1] + d1 * .35f - n1 * (.24f * scale),
            J[b + 1] + d1 * .68f - n1 * (.22f * scale), .70f * g * R[f][1] / .93f,
            .64f * g * R[f][1] / .93f);
        cap(PULP + f, J[b + 2] + d2 * .48f - n2 * (.17f * scale),
            J[b + 2] + d2 * .74f - n2 * (.12f * scale), R[f][3] * 1.06f * g, R[f][3] * 0.98f * g);
        // dorsal knuckle
        float bend = clamp01(pose.mcp[f] / 80.f), out = .26f + .14f * bend;
        cap(KNUCK + f, J[b] - Y * (.55f * scale) + k.nrm[b] * (out * .9f * scale),
            J[b] + d0 * .05f + norm(k.nrm[b] + n0) * (out * scale), .74f * g * R[f][0] / 1.05f,
            .78f * g * R[f][0] / 1.05f);
    }
    { // thumb
        const V3* J = k.j;
        V3 d1 = J[3] - J[2], d2 = J[4] - J[3];
        cap(THUMB, J[1], J[2], 1.38f * pf, 1.16f * g);
        cap(THUMB + 1, J[2], J[3], 1.14f * g, 1.02f * g, 0.06f * g);
        cap(THUMB + 2, J[3], J[4] - d2 * .13f, 0.99f * g, 0.74f * g, -0.03f);
        cap(PULP + 4, J[3] + d2 * .45f - k.nrm[4] * (.2f * scale),
            J[3] + d2 * .72f - k.nrm[4] * (.15f * scale), .86f * g, .78f * g);
        cap(TPAD, J[2] + d1 * .3f - k.nrm[3] * (.22f * scale),
            J[2] + d1 * .65f - k.nrm[3] * (.2f * scale), .95f * g, .85f * g);
    }
    static const V3 mb[4] = {
        {1.35f, 1.2f, .1f}, {.45f, 1.1f, -.15f}, {-.55f, 1.1f, -.1f}, {-1.35f, 1.2f, .1f}};
    for (int f = 0; f < 4; f++) {
        V3 b = mb[f];
        b.x *= pw;
        cap(META + f, w(b), k.j[5 + 4 * f], 1.45f, (f == 3 ? 1.05f : 1.2f), 0.05f);
    }
    V3 tm = l.j[2], tc = l.j[1];
    cap(THENAR, w({1.75f * pw, 1.7f, 1.05f}), w(mix(tc, tm, .78f) + V3(-.35f, .1f, .35f)),
        1.55f * pf, 1.25f * pf);
    cap(HYPO, w({-1.75f * pw, 1.7f, .95f}), w({-3.0f * pw, 5.8f, .75f}), 1.45f * pf, 1.15f * pf);
    cap(PAD, w(mix(l.j[5], V3(2.2f * pw, 8.f, 0), .75f) + V3(0, -.2f, .62f)),
        w(l.j[17] + V3(.45f, -.3f, .55f)), .82f * pf, .8f * pf);
    cap(WEB1, w(mix(tc, tm, .82f)),
        w(mix(V3(1.35f * pw, 1.2f, .1f), l.j[5], .62f) + V3(0, 0, .15f)), .78f, .95f);
    for (int f = 0; f < 3; f++) {
        V3 p0 = mix(k.j[5 + 4 * f], k.j[6 + 4 * f], .27f),
           p1 = mix(k.j[9 + 4 * f], k.j[10 + 4 * f], f == 2 ? .30f : .27f);
        cap(WEB + f, p0, p1, .78f * g, .76f * g);
    }
    cap(CARPAL, w({.70f * pw, .8f, .2f}), w({-.80f * pw, .8f, .15f}), 1.62f, 1.58f);
    // forearm: two parallel bones give the flat wrist, converging into a rounder forearm
    V3 fd = E - W;
    flen = len(fd);
    fdir = norm(fd);
    fx = norm(X - fdir * dot(X, fdir));
    fz = cross(fdir, fx);
    if (dot(fz, Z) > 0) fz = -fz;
    float s = scale;
    cap(FORE, W + fx * (.98f * s) - fdir * (.2f * s), E + fx * (1.3f * s), 1.58f, 3.5f);
    cap(FORE + 1, W - fx * (1.02f * s) - fdir * (.2f * s), E - fx * (1.3f * s), 1.55f, 3.5f);
    V3 lo = k.j[0], hi = lo;
    for (auto& q : k.j) {
        lo = {std::min(lo.x, q.x), std::min(lo.y, q.y), std::min(lo.z, q.z)};
        hi = {std::max(hi.x, q.x), std::max(hi.y, q.y), std::max(hi.z, q.z)};
    }
    cen = (lo + hi) * .5f;
    rad_ = 0;
    for (auto& q : k.j)
        rad_ = std::max(rad_, len(q - cen) + 1.9f * scale);
}

void HandGeom::distances(V3 p, float* d) const {
    for (int i = 0; i < PARTS; i++) {
        float x = p.x - ax[i], y = p.y - ay[i], z = p.z - az[i];
        float t = (x * bx[i] + y * by[i] + z * bz[i]) * inv[i];
        t = t < 0 ? 0 : t;
        t = t > 1 ? 1 : t;
        x -= bx[i] * t;
        y -= by[i] * t;
        z -= bz[i] * t;
        d[i] = std::sqrt(x * x + y * y + z * z) - (ra[i] + dr[i] * t - waist[i] * t * (1 - t));
    }
}

float HandGeom::skin(const float* d) const {
    const float s = scale;
    float palm = smin(d[META], d[META + 1], .9f * s);
    palm = smin(palm, d[META + 2], .9f * s);
    palm = smin(palm, d[META + 3], .9f * s);
    palm = smin(palm, d[CARPAL], .8f * s);
    palm = smin(palm, d[PAD], .7f * s);
    palm = smin(palm, d[HYPO], .8f * s);
    palm = smin(palm, d[THUMB], .9f * s);
    palm = smin(palm, d[THENAR], .9f * s);
    palm = smin(palm, d[WEB1], 1.3f * s);
    float arm = smin(d[FORE], d[FORE + 1], 1.6f * s);
    palm = smin(palm, arm, 1.1f * s);
    float web = std::min(d[WEB], std::min(d[WEB + 1], d[WEB + 2]));
    palm = smin(palm, web, .55f * s);
    float knuck = std::min(std::min(d[KNUCK], d[KNUCK + 1]), std::min(d[KNUCK + 2], d[KNUCK + 3]));
    palm = smin(palm, knuck, .8f * s);
    float all = palm;
    for (int f = 0; f < 4; f++) {
        float pp = smin(d[3 * f], d[PPAD + f], .3f * s), base = smin(palm, pp, .5f * s);
        float mp = smin(d[3 * f + 1], d[MPAD + f], .25f * s),
              dp = smin(d[3 * f + 2], d[PULP + f], .22f * s);
        float fin = smin(base, smin(mp, dp, .26f * s), .26f * s);
        all = smin(all, fin, .05f * s);
    }
    float tp = smin(smin(d[THUMB + 1], d[TPAD], .3f * s), palm, .6f * s);
    float td = smin(d[THUMB + 2], d[PULP + 4], .22f * s);
    all = smin(all, smin(tp, td, .26f * s), .05f * s);
    return all;
}

bool HandGeom::nearRay(V3 p, V3 l, float margin) const {
    auto hits = [&](V3 c, float r) {
        V3 v = c - p;
        float t = std::max(0.f, dot(v, l));
        return dot(v - l * t, v - l * t) < sq(r + margin);
    };
    return hits(cen, rad_) || hits((W + E) * .5f, flen * .5f + 5.f);
}

float HandGeom::map(V3 p, int* mat) const {
    alignas(64) float d[PARTS];
    float far = len(p - cen) - rad_;
    V3 q = p - W;
    float along = dot(q, fdir);
    if (far > 4.f) { // cheap bound away from the hand
        float t = std::min(flen, std::max(0.f, along));
        float arm = len(q - fdir * t) - (4.6f + sleeveEase) * scale - 1.2f;
        if (arm > 1.f) return std::min(arm, far);
    }
    float r;
    if (far > 3.f) { // forearm only: the digits and the palm are at least `far` away
        for (int i = FORE; i < FORE + 2; i++) {
            V3 a{ax[i], ay[i], az[i]}, b{bx[i], by[i], bz[i]}, v = p - a;
            float t = clamp01(dot(v, b) * inv[i]);
            d[i] = len(v - b * t) - (ra[i] + dr[i] * t);
        }
        r = std::min(far, smin(d[FORE], d[FORE + 1], 1.6f * scale));
    } else {
        distances(p, d);
        r = skin(d);
    }
    int m = 0;
    float arm = smin(d[FORE], d[FORE + 1], 1.6f * scale);
    if (sleeve) {
        float wob = 0.f; // folds of the sleeve
        if (arm < sleeveEase * scale + 1.f)
            wob = std::sin(along * 1.3f + 2.f * std::sin(dot(q, fx) * .5f)) * .12f +
                  std::sin(along * .55f + dot(q, fz) * .6f) * .18f;
        else
            wob = .3f;
        float sl = smax(arm - (sleeveEase + wob) * scale, cuff * scale - along, .35f);
        // turned hem
        float hem = smax(arm - (sleeveEase + .22f) * scale,
                         std::fabs(along - (cuff + .7f) * scale) - .55f * scale, .3f);
        sl = smin(sl, hem, .25f);
        if (sl < r) {
            r = sl;
            m = 1;
        }
    }
    if (watch) {
        float c = 2.6f * scale;
        float band = smax(arm - .2f * scale, std::fabs(along - c) - .9f * scale, .15f);
        if (band < r) {
            r = band;
            m = 2;
        }
        V3 o = q - fdir * c;
        float ca = len(V3(dot(o, fx), dot(o, fdir), 0)), h = dot(o, fz);
        float box = smax(ca - 1.75f * scale, std::fabs(h - 2.1f * scale) - .42f * scale, .2f);
        if (box < r) {
            r = box;
            m = 3;
        }
    }
    if (ring && far <= 3.f) {
        V3 a = k.j[13], b = k.j[14], u = norm(b - a);
        float t = dot(p - a, u) - len(b - a) * .55f;
        float rg = smax(smin(d[6], d[PPAD + 2], .3f * scale) - .1f * scale,
                        std::fabs(t) - .2f * scale, .08f);
        if (rg < r) {
            r = rg;
            m = 4;
        }
    }
    if (mat) *mat = m;
    return r;
}

} // namespace presenter
