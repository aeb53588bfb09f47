#include "HandSkin.h"

namespace presenter {

Surf handSurface(const HandGeom& g, V3 p, V3& n, int mat, const Look& L) {
    Surf s;
    V3 q = g.local(p);
    float along = dot(p - g.W, g.fdir);
    if (mat == 1) {
        V3 t{dot(p - g.W, g.fx), along, dot(p - g.W, g.fz)};
        float knit = noise3(t * 5.f), fold = fbm(t * V3(.45f, .28f, .45f) + V3(3, 1, 7), 3);
        V3 e{fbm(t * .5f + V3(11, 0, 0), 2), fbm(t * .5f + V3(0, 17, 0), 2),
             fbm(t * .5f + V3(0, 0, 23), 2)};
        n = norm(n + e * .42f +
                 V3(hash3(int(t.x * 9), int(t.y * 9), int(t.z * 9)), noise3(t * 7.f), knit) * .05f);
        s.albedo = L.cloth * (1.f + .10f * knit + .22f * fold);
        s.spec = .03f;
        s.rough = .8f;
        return s;
    }
    if (mat == 2) {
        s.albedo = L.strap;
        s.spec = .4f;
        s.rough = .5f;
        return s;
    }
    if (mat == 3) {
        s.albedo = V3(.015f, .016f, .018f);
        s.spec = 1.4f;
        s.rough = .22f;
        return s;
    }
    if (mat == 4) {
        s.albedo = V3(.75f, .56f, .26f);
        s.spec = 6.f;
        s.rough = .3f;
        return s;
    }

    alignas(64) float d[PARTS];
    g.distances(p, d);
    // nearest finger bone
    int best = -1;
    float bd = 1e9f;
    for (int i = 0; i < 15; i++) {
        if (i == THUMB) continue;
        if (d[i] < bd) {
            bd = d[i];
            best = i;
        }
    }
    int finger = best < 12 ? best / 3 : 4, seg = best < 12 ? best % 3 : best - 12;
    int j0 = best < 12 ? 5 + 4 * finger + seg : 1 + seg;
    V3 a = g.k.j[j0], ab = g.k.j[j0 + 1] - a;
    float L0 = len(ab);
    V3 u = ab * (1 / L0);
    float t = dot(p - a, u) / L0, cmS = 1.f / g.scale;
    V3 bn = g.k.nrm[j0 + 1], side = cross(u, bn), rv = p - a - u * (clamp01(t) * L0);
    float onFinger = 1 - smooth(-.15f, .75f, bd * cmS); // 0 on the palm, 1 on a digit
    if (seg == 0 && best < 12) onFinger *= smooth(.0f, .5f, t);
    float dors = mix(-dot(n, g.Z), dot(n, bn), onFinger);
    float palmar = smooth(-.25f, .55f, -dors), dorsal = smooth(.0f, .6f, dors);
    V3 wp = q * 1.f;
    float m1 = fbm(wp * .85f + V3(5, 9, 2), 3), m2 = fbm(wp * 2.6f + V3(1, 4, 8), 2),
          pore = noise3(wp * 13.f);
    V3 base = mix(L.skin(), L.palm(), palmar * smooth(-4.f, -.2f, q.y));
    float red = 0, dark = 0;
    // blotchy colour of living skin
    red += L.mottle * (.17f * m1 + .12f * m2);
    dark += -.07f * m1 * L.mottle + .05f * pore;
    if (onFinger > 0) {
        float s0 = t * L0 * cmS, s1 = (t - 1) * L0 * cmS; // cm from the proximal and distal joint
        if (seg == 2) red += onFinger * .30f * smooth(.2f, .9f, t) * (1 - .5f * dorsal);
        float kn = (seg == 0   ? gauss(s1, .75f)
                    : seg == 1 ? std::max(gauss(s0, .75f), gauss(s1, .5f))
                               : gauss(s0, .5f));
        red += onFinger * dorsal * .17f * kn;
        dark += onFinger * dorsal * .07f * kn;
        // palmar flexion creases
        float w = .055f, wob = .05f * noise3(wp * 2.2f), cr = 0;
        if (seg == 0)
            cr = .9f * gauss(s1 + .10f + wob, w) + .55f * gauss(s1 + .30f - wob, w) +
                 .7f * gauss((t - (best < 12 ? .44f : .02f)) * L0 * cmS + wob, w * 1.2f);
        else if (seg == 1)
            cr = .8f * gauss(s0 - .12f + wob, w) + .9f * gauss(s1 + .02f + wob, w);
        else
            cr = .5f * gauss(s0 - .16f + wob, w);
        dark += onFinger * palmar * .42f * cr;
        red += onFinger * palmar * .12f * cr;
        // dorsal knuckle wrinkles, strongest when the finger is straight
        int pj = best < 12 ? 5 + 4 * finger : 1;
        float bend = best < 12
                         ? dot(norm(g.k.j[pj + 1] - g.k.j[pj]), norm(g.k.j[pj + 2] - g.k.j[pj + 1]))
                         : .9f;
        float sk = seg == 0   ? s1
                   : seg == 1 ? s0
                              : 9.f,
              wr = gauss(sk, .42f) *
                   (.5f + .5f * std::cos(sk * 2 * kPi / .27f + 1.6f * noise3(wp * 1.7f)));
        float sk2 = seg == 1 ? s1 : seg == 2 ? s0 : 9.f;
        wr += .6f * gauss(sk2, .22f) * (.5f + .5f * std::cos(sk2 * 2 * kPi / .22f));
        dark += onFinger * dorsal * .28f * wr * smooth(.3f, .95f, bend);
    }
    if (onFinger < 1) {
        float pm = (1 - onFinger) * palmar, dm = (1 - onFinger) * dorsal;
        red += pm * (.16f * gauss(len(V3(q.x - 2.6f, q.y - 3.6f, 0)), 2.2f) +
                     .16f * gauss(len(V3(q.x + 2.9f, q.y - 4.0f, 0)), 2.2f) +
                     .15f * gauss(q.y - 7.8f, 1.2f));
        float wob = .22f * noise3(wp * .8f + V3(2, 2, 2)) + .08f * noise3(wp * 2.6f);
        dark += pm * .07f *
                gauss(std::fabs(fbm(wp * V3(.9f, 1.5f, .9f) + V3(4, 2, 6), 3)),
                      .05f); // fine secondary lines
        // palm lines: heart, head and life line
        float heart = q.y - (6.55f + .038f * sq(q.x + 4.2f)) + wob,
              hm = smooth(-4.4f, -3.6f, q.x) * (1 - smooth(1.2f, 2.2f, q.x));
        float head = q.y - (6.75f - .055f * sq(3.4f - q.x)) + wob,
              hem = smooth(-3.2f, -1.6f, q.x) * (1 - smooth(3.0f, 3.8f, q.x));
        float lr = len(V3(q.x - 4.1f, (q.y - 3.2f) * .86f, 0)) - 3.2f + wob,
              lm = (1 - smooth(3.0f, 3.7f, q.x)) * smooth(.6f, 1.6f, q.y);
        dark += pm * (.26f * gauss(heart, .11f) * hm + .20f * gauss(head, .10f) * hem +
                      .26f * gauss(lr, .12f) * lm);
        dark += pm * .17f * gauss(q.y - .05f + wob, .10f) +
                pm * .09f * gauss(q.y + .55f - wob, .09f); // wrist creases
        for (int f = 0; f < 4; f++) {                      // MCP knuckles, tendons
            V3 kj = g.k.j[5 + 4 * f];
            float r = len(p - kj) * cmS;
            red += dm * .16f * gauss(r, 1.5f);
            float tend = d[META + f] - std::min(std::min(d[META], d[META + 1]),
                                                std::min(d[META + 2], d[META + 3]));
            dark += -dm * .05f * gauss(tend * cmS, .35f) * smooth(3.f, 6.f, q.y);
        }
        float v = std::fabs(fbm(wp * V3(.75f, .38f, .6f) + V3(20, 3, 1), 2));
        dark += dm * .10f * gauss(v, .035f) * (1 - L.tone);
        if (q.y < 0) red -= .04f;
    }
    V3 c = base * (1.f - std::min(.7f, dark));
    c = c * V3(1.f + .22f * red, 1.f - .42f * red, 1.f - .50f * red);
    s.albedo = c;
    s.sss = 1;
    s.spec = .36f * L.gloss;
    s.rough = .54f + .07f * pore;
    // nail
    if (seg == 2) {
        float hw = (finger == 4 ? .70f : finger == 3 ? .46f : .56f) * g.shape.girth * g.scale;
        float lat = dot(rv, side) / hw, t0 = finger == 4 ? .40f : .38f,
              t1 = .93f + .07f * g.shape.nail;
        float w = (t - .5f * (t0 + t1)) / (.5f * (t1 - t0)),
              e = std::pow(std::fabs(w), 3.f) + std::pow(std::fabs(lat), 3.f);
        if (dot(n, bn) > .1f && e < 1.7f) {
            float in = 1 - smooth(.82f, 1.0f, e), rim = gauss(e - 1.02f, .17f);
            V3 nail = mix(L.skin(), V3(.60f, .34f, .29f), .5f) * .98f;
            float lunula = 1 - smooth(.06f, .16f, (t - t0) / (t1 - t0) + lat * lat * .06f);
            nail = mix(nail, V3(.70f, .55f, .48f), lunula * .5f);
            float edge = smooth(.86f, .92f, (t - t0) / (t1 - t0) + lat * lat * .05f);
            nail = mix(nail, V3(.66f, .55f, .47f), edge * (.25f + .5f * g.shape.nail));
            s.albedo = mix(s.albedo * (1 - .28f * rim), nail, in);
            s.rough = mix(s.rough, .34f, in);
            s.spec = mix(s.spec, .55f, in);
            n = norm(mix(n, norm(bn + side * (lat * .55f) + u * (.12f)), in * .6f));
            return s;
        }
    }
    // pores and fine wrinkles tilt the normal slightly
    V3 fx = wp * 9.f;
    n = norm(n + V3(noise3(fx), noise3(fx + V3(31, 0, 0)), noise3(fx + V3(0, 57, 0))) * .045f);
    return s;
}

} // namespace presenter
