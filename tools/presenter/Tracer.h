// Sphere tracing: map(p) is a distance, shade(p, ray) a linear colour.
#pragma once

#include "Maths.h"

namespace presenter {

// map(p) is a distance, shade(p, ray) a linear colour. Tiles of 8x8 pixels are cone-marched first,
// so that empty space is skipped; silhouettes (also interior ones) are anti-aliased from the
// closest approach of each ray.
template <class Map, class Shade>
void trace(Layer& out, const Camera& cam, float tmax, Map map, Shade shade) {
    const int T = 8;
    const float px = 1.f / cam.f;
    for (int ty = 0; ty < cam.h; ty += T)
        for (int tx = 0; tx < cam.w; tx += T) {
            V3 cd = cam.ray(tx + T * .5f, ty + T * .5f);
            float t = 20.f, cone = (T * .75f + 1.2f) * px;
            bool empty = true;
            for (int i = 0; t < tmax; i++) {
                if (i == 60) {
                    empty = false;
                    break;
                }
                float d = map(cd * t);
                if (d < t * cone + .02f) {
                    empty = false;
                    break;
                }
                t += std::max(.2f, (d - t * cone) * .95f);
            }
            if (empty) continue;
            float t0 = std::max(19.f, t - .8f);
            for (int y = ty; y < std::min(cam.h, ty + T); y++)
                for (int x = tx; x < std::min(cam.w, tx + T); x++) {
                    V3 r = cam.ray(x + .5f, y + .5f);
                    float tt = t0, prev = 1e9f, gt = 0, gr = 1.f, mr = 1e9f, mt = 0;
                    bool hit = false;
                    for (int i = 0; i < 110 && tt < tmax; i++) {
                        float d = map(r * tt), rat = d / (tt * px);
                        if (d < .12f * tt * px) {
                            hit = true;
                            break;
                        }
                        if (rat < mr) {
                            mr = rat;
                            mt = tt;
                        }
                        if (d > prev && mr < gr) {
                            gr = mr;
                            gt = mt;
                        } // passed a silhouette
                        if (d > prev) {
                            mr = 1e9f;
                        }
                        prev = d;
                        tt += std::max(d * .93f, .25f * tt * px);
                    }
                    if (!hit && mr < gr) {
                        gr = mr;
                        gt = mt;
                    }
                    size_t o = size_t(y) * cam.w + x;
                    if (hit) {
                        V3 c = shade(r * tt, r);
                        if (gr < 1.f && tt - gt > 4 * tt * px) {
                            c = mix(c, shade(r * gt, r), 1 - gr);
                        }
                        out.c[o] = c;
                        out.a[o] = 1;
                        out.z[o] = tt;
                    } else if (gr < 1.f) {
                        float a = 1 - gr;
                        out.c[o] = shade(r * gt, r) * a;
                        out.a[o] = a;
                        out.z[o] = gt;
                    }
                }
        }
}

template <class Map>
V3 normalAt(V3 p, Map map, float e) {
    const V3 k0{1, -1, -1}, k1{-1, -1, 1}, k2{-1, 1, -1}, k3{1, 1, 1};
    return norm(k0 * map(p + k0 * e) + k1 * map(p + k1 * e) + k2 * map(p + k2 * e) +
                k3 * map(p + k3 * e));
}

template <class Map>
float softShadow(V3 p, V3 l, Map map, float tmax, float k, int steps, float start) {
    float j = hash3(int(p.x * 97), int(p.y * 89), int(p.z * 83)) * .5f + .5f, r = 1,
          t = start * (.85f + .3f * j);
    for (int i = 0; i < steps && t < tmax; i++) {
        float d = map(p + l * t);
        r = std::min(r, .5f + .5f * k * d / t);
        if (r < 0) break;
        t += std::max(.15f, std::min(d * (.80f + .14f * j), 4.f));
    }
    r = clamp01(r);
    return r * r * (3 - 2 * r);
}

} // namespace presenter
