#include "Drawing.h"

#include "HandSkin.h"
#include "Tracer.h"

namespace presenter {

void renderArm(Layer& out, const Camera& cam, const HandGeom& g, const Look& look, const Lights& L,
               const HandGeom* other) {
    auto m = [&](V3 p) { return g.map(p); };
    float far = std::max(len(g.cen) + g.rad_, len(g.E) + 8.f);
    trace(out, cam, far, m, [&](V3 p, V3 r) {
        int mat;
        g.map(p, &mat);
        V3 n = normalAt(p, m, mat == 1 ? .06f : .022f);
        float ao = 0, w = 1, tot = 0;
        for (float h : {.25f, .6f, 1.2f, 2.2f}) {
            ao += w * clamp01(g.map(p + n * h) / h);
            tot += w;
            w *= .8f;
        }
        ao = ao / tot;
        ao = mix(.12f, 1.f, ao * ao);
        float sh =
            dot(n, L.keyD) > -.35f ? softShadow(p + n * .06f, L.keyD, m, 22.f, 7.f, 14, .18f) : 0.f;
        if (other && sh > 0)
            sh *= softShadow(
                p, L.keyD, [&](V3 q) { return other->map(q); }, 45.f, 5.f, 10, .5f);
        Surf s = handSurface(g, p, n, mat, look);
        return lightSurface(s, n, -r, ao, sh, L);
    });
}

void renderBody(Layer& out, const Camera& cam, const Body& b, const Lights& L,
                const HandGeom* const* arms, int nArms) {
    auto m = [&](V3 p) { return b.map(p); };
    trace(out, cam, len(b.pos) + 30.f, m, [&](V3 p, V3 r) {
        int mat;
        b.map(p, &mat);
        V3 n = normalAt(p, m, mat == 1 ? .12f : .04f);
        float ao = 0;
        for (float h : {.5f, 1.6f, 3.6f})
            ao += clamp01(b.map(p + n * h) / h);
        ao /= 3;
        ao = mix(.15f, 1.f, ao * ao);
        float sh =
            dot(n, L.keyD) > -.35f ? softShadow(p + n * .12f, L.keyD, m, 40.f, 5.f, 9, .4f) : 0.f;
        for (int i = 0; i < nArms && sh > 0; i++)
            if (arms[i]->nearRay(p, L.keyD, 2.f))
                sh *= softShadow(
                    p, L.keyD, [&](V3 q) { return arms[i]->map(q); }, 60.f, 3.5f, 9, 1.f);
        // contact darkening where an arm is close to the body
        for (int i = 0; i < nArms; i++)
            if (arms[i]->nearRay(p, n, 8.f))
                ao *= mix(1.f, .55f, smooth(8.f, 0.f, arms[i]->map(p)));
        Surf s = b.surface(p, n, mat);
        return lightSurface(s, n, -r, ao, sh, L);
    });
}

void motionBlur(Layer& l, const std::vector<V3>& pos, const std::vector<V3>& vel) { // x,y in pixels
    float vm = 0;
    for (auto& v : vel)
        vm = std::max(vm, std::sqrt(v.x * v.x + v.y * v.y));
    if (vm < .8f) return;
    int x0 = l.w, y0 = l.h, x1 = -1, y1 = -1;
    for (int y = 0; y < l.h; y++)
        for (int x = 0; x < l.w; x++)
            if (l.a[size_t(y) * l.w + x] > 0) {
                x0 = std::min(x0, x);
                x1 = std::max(x1, x);
                y0 = std::min(y0, y);
                y1 = std::max(y1, y);
            }
    if (x1 < 0) return;
    int pad = int(vm * .5f) + 2;
    x0 = std::max(0, x0 - pad);
    y0 = std::max(0, y0 - pad);
    x1 = std::min(l.w - 1, x1 + pad);
    y1 = std::min(l.h - 1, y1 + pad);
    Layer s = l;
    const int N = std::min(15, 3 + int(vm / 2) * 2);
    for (int y = y0; y <= y1; y++)
        for (int x = x0; x <= x1; x++) {
            float sw = 0, sx = 0, sy = 0;
            for (size_t i = 0; i < pos.size(); i++) {
                float w = 1.f / sq(sq(pos[i].x - x) + sq(pos[i].y - y) + 60.f);
                sw += w;
                sx += w * vel[i].x;
                sy += w * vel[i].y;
            }
            sx /= sw;
            sy /= sw;
            V3 c;
            float a = 0, z = 1e9f;
            for (int k = 0; k < N; k++) {
                float f = (k + .5f) / N - .5f;
                int xx = int(std::lround(x + sx * f)), yy = int(std::lround(y + sy * f));
                if (xx < 0 || yy < 0 || xx >= l.w || yy >= l.h) {
                    xx = std::min(l.w - 1, std::max(0, xx));
                    yy = std::min(l.h - 1, std::max(0, yy));
                }
                size_t o = size_t(yy) * l.w + xx;
                c += s.c[o];
                a += s.a[o];
                z = std::min(z, s.z[o]);
            }
            size_t o = size_t(y) * l.w + x;
            l.c[o] = c * (1.f / N);
            l.a[o] = a / N;
            l.z[o] = z;
        }
}

} // namespace presenter
