#include "Film.h"

namespace presenter {

namespace {

const uint8_t* lut() { // tone curve + display gamma, index = sqrt(linear)/sqrt(8) * 4095
    static std::vector<uint8_t> t;
    static bool init = [] {
        t.resize(4096);
        for (int i = 0; i < 4096; i++) {
            float x = sq(i / 4095.f) * 8.f,
                  y = (x * (2.51f * x + .03f)) / (x * (2.43f * x + .59f) + .14f);
            y = clamp01(y);
            y = y < .0031308f ? 12.92f * y : 1.055f * std::pow(y, 1 / 2.4f) - .055f;
            t[i] = uint8_t(y * 255 + .5f);
        }
        return true;
    }();
    (void)init;
    return t.data();
}

} // namespace

void Film::develop(std::vector<V3>& im, int w, int h, std::vector<uint8_t>& rgb) const {
    const uint8_t* T = lut();
    rgb.resize(size_t(w) * h * 3);
    std::vector<V3> g(im.size());
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) {
            float v = 1 - vignette *
                              (sq((x - w * .5f) / (w * .5f)) + sq((y - h * .5f) / (h * .5f))) * .5f;
            V3 c = im[size_t(y) * w + x] * balance * (exposure * v);
            float l = c.x * .2126f + c.y * .7152f + c.z * .0722f;
            c = mix(V3(l, l, l), c, sat);
            auto e = [&](float q) {
                return float(
                    T[int(std::min(4095.f, std::sqrt(std::max(0.f, q) * .125f) * 4095.f))]);
            };
            g[size_t(y) * w + x] = {e(c.x), e(c.y), e(c.z)};
        }
    // material borders have no depth step for the tracer to anti-alias: average along strong edges
    if (w > 4 && h > 4) {
        std::vector<V3> src = g;
        auto lu = [&](int x, int y) { return src[size_t(y) * w + x].y; };
        for (int y = 3; y < h - 3; y++)
            for (int x = 3; x < w - 3; x++) {
                float gx = lu(x + 1, y) - lu(x - 1, y), gy = lu(x, y + 1) - lu(x, y - 1);
                if (std::fabs(gx) + std::fabs(gy) < 24.f) continue;
                gx = 2 * gx + lu(x + 1, y - 1) - lu(x - 1, y - 1) + lu(x + 1, y + 1) -
                     lu(x - 1, y + 1);
                gy = 2 * gy + lu(x - 1, y + 1) - lu(x - 1, y - 1) + lu(x + 1, y + 1) -
                     lu(x + 1, y - 1);
                float il = 1.f / std::max(1e-3f, std::sqrt(gx * gx + gy * gy)), tx = -gy * il,
                      ty = gx * il;
                V3 c = src[size_t(y) * w + x] * 1.2f;
                float sw = 1.2f;
                for (float k : {-2.f, -1.f, 1.f, 2.f}) {
                    float fx = x + tx * k, fy = y + ty * k;
                    int ix = int(fx), iy = int(fy);
                    fx -= ix;
                    fy -= iy;
                    const V3* p = &src[size_t(iy) * w + ix];
                    float wt = std::fabs(k) > 1.5f ? .6f : 1.f;
                    c += mix(mix(p[0], p[1], fx), mix(p[w], p[w + 1], fx), fy) * wt;
                    sw += wt;
                }
                g[size_t(y) * w + x] = c * (1 / sw);
            }
    }
    // lens softness and the camera's sharpening, then sensor noise (a little chroma, mostly luma)
    const float k = soft * .25f - sharpen * .12f;
    uint32_t s = uint32_t(seed * 2654435761u) | 1;
    auto rnd = [&] {
        s ^= s << 13;
        s ^= s >> 17;
        s ^= s << 5;
        return float(int32_t(s)) * (1.f / 2147483648.f);
    };
    float prev = 0;
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++) {
            size_t o = size_t(y) * w + x;
            V3 c = g[o];
            V3 nb =
                (g[size_t(y) * w + std::max(0, x - 1)] + g[size_t(y) * w + std::min(w - 1, x + 1)] +
                 g[size_t(std::max(0, y - 1)) * w + x] +
                 g[size_t(std::min(h - 1, y + 1)) * w + x]) *
                .25f;
            c = mix(c, nb, k * 2.f);
            float n = (rnd() + rnd() + rnd()) * 1.5f * noise, amp = 1.f + .8f * (1 - c.y / 255.f);
            float nl = (n + .5f * prev) * amp;
            prev = n;
            float r = c.x + nl + rnd() * noise * 1.3f, gg = c.y + nl + rnd() * noise * .7f,
                  b = c.z + nl + rnd() * noise * 1.6f;
            rgb[o * 3] = uint8_t(std::min(255.f, std::max(0.f, r + .5f)));
            rgb[o * 3 + 1] = uint8_t(std::min(255.f, std::max(0.f, gg + .5f)));
            rgb[o * 3 + 2] = uint8_t(std::min(255.f, std::max(0.f, b + .5f)));
        }
}

} // namespace presenter
