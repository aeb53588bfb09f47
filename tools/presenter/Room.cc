#include "Room.h"

namespace presenter {

namespace {

void boxBlur(std::vector<V3>& im, int w, int h, int r, int passes) {
    std::vector<V3> t(im.size());
    for (int k = 0; k < passes; k++) {
        for (int y = 0; y < h; y++) {
            V3 s;
            auto at = [&](int x) { return im[size_t(y) * w + std::min(w - 1, std::max(0, x))]; };
            for (int x = -r; x <= r; x++)
                s += at(x);
            for (int x = 0; x < w; x++) {
                t[size_t(y) * w + x] = s * (1.f / (2 * r + 1));
                s += at(x + r + 1) - at(x - r);
            }
        }
        for (int x = 0; x < w; x++) {
            V3 s;
            auto at = [&](int y) { return t[size_t(std::min(h - 1, std::max(0, y))) * w + x]; };
            for (int y = -r; y <= r; y++)
                s += at(y);
            for (int y = 0; y < h; y++) {
                im[size_t(y) * w + x] = s * (1.f / (2 * r + 1));
                s += at(y + r + 1) - at(y - r);
            }
        }
    }
}

} // namespace

std::vector<V3> makeRoom(int W, int H, uint64_t seed, float clutter, float blur) {
    Rng g(seed * 77 + 5);
    const int w = 480, h = 270;
    std::vector<V3> im(size_t(w) * h);
    auto fillRect = [&](float x0, float y0, float x1, float y1, V3 c, float grad = 0) {
        for (int y = std::max(0, int(y0)); y < std::min(h, int(y1)); y++)
            for (int x = std::max(0, int(x0)); x < std::min(w, int(x1)); x++)
                im[size_t(y) * w + x] = c * (1 + grad * ((x - x0) / (x1 - x0) - .5f));
    };
    auto fillDisc = [&](float cx, float cy, float rx, float ry, V3 c, float soft = .1f) {
        for (int y = std::max(0, int(cy - ry * 1.5f)); y < std::min(h, int(cy + ry * 1.5f)); y++)
            for (int x = std::max(0, int(cx - rx * 1.5f)); x < std::min(w, int(cx + rx * 1.5f));
                 x++) {
                float d = std::sqrt(sq((x - cx) / rx) + sq((y - cy) / ry));
                float a = 1 - smooth(1 - soft, 1 + soft, d);
                auto& p = im[size_t(y) * w + x];
                p = mix(p, c, a);
            }
    };
    auto col = [&](float lo, float hi) {
        float v = g.uni(lo, hi);
        return V3(v * g.uni(.6f, 1.25f), v * g.uni(.7f, 1.1f), v * g.uni(.55f, 1.25f));
    };
    const bool home = seed == 1, furnished = home || g.chance(.35f);
    V3 wall = home ? V3(.42f, .40f, .37f) : col(.12f, .55f);
    for (int y = 0; y < h; y++)
        for (int x = 0; x < w; x++)
            im[size_t(y) * w + x] = wall * (1.15f - .55f * x / w + .12f * (1 - float(y) / h));
    if (furnished) {
        const float ox = home ? 0.f : g.uni(-220, 220);
        const bool flip = !home && g.chance(.5f);
        auto rect = [&](float x0, float y0, float x1, float y1, V3 c, float gr = 0) {
            x0 += ox;
            x1 += ox;
            if (flip) {
                float t = w - x0;
                x0 = w - x1;
                x1 = t;
            }
            fillRect(x0, y0, x1, y1, c, gr);
        };
        auto disc = [&](float cx, float cy, float rx, float ry, V3 c, float soft = .1f) {
            cx += ox;
            fillDisc(flip ? w - cx : cx, cy, rx, ry, c, soft);
        };
        rect(0, 0, 70, 215, V3(1.9f, 2.1f, 2.3f));
        rect(66, 0, 76, 222, V3(.62f, .60f, .56f));
        rect(30, 0, 34, 215, V3(.75f, .73f, .7f));
        rect(0, 108, 70, 112, V3(.75f, .73f, .7f));
        rect(72, 0, 104, 250, V3(.50f, .46f, .40f), -.5f);
        rect(82, 0, 86, 250, V3(.40f, .36f, .31f));
        rect(94, 0, 97, 250, V3(.38f, .34f, .30f)); // curtain
        rect(322, 48, 470, 270, V3(.17f, .105f, .062f));
        for (int s = 0; s < 4; s++) {
            rect(328, 54 + 54 * s, 464, 100 + 54 * s, V3(.075f, .05f, .034f));
            float x = 330;
            while (x < 458) {
                float bw = g.uni(4, 10), bh = g.uni(26, 42);
                if (g.chance(.86f))
                    rect(x, 100 + 54 * s - bh, x + bw - 1, 100 + 54 * s, col(.06f, .42f));
                x += bw;
            }
        }
        rect(150, 42, 212, 96, V3(.10f, .085f, .07f));
        rect(154, 46, 208, 92, V3(.55f, .52f, .46f));
        disc(176, 74, 15, 12, V3(.20f, .30f, .33f));
        disc(192, 66, 9, 9, V3(.62f, .30f, .14f)); // picture
        for (int i = 0; i < 26; i++) {
            float a = g.uni(-1.5f, 1.5f), r = g.uni(8, 40);
            disc(288 + r * std::sin(a), 196 - r * std::cos(a) * 1.2f, g.uni(5, 10), g.uni(4, 12),
                 V3(.05f, .16f, .055f) * g.uni(.6f, 1.9f), .3f);
        }
        rect(278, 206, 300, 250, V3(.46f, .26f, .16f), -.5f);
        rect(0, 246, 480, 270, V3(.20f, .145f, .10f));
        disc(308, 30, 15, 15, V3(2.1f, 1.6f, 1.0f), .35f);
    } else {
        int n = int(4 + clutter * 40);
        for (int i = 0; i < n; i++) {
            float x = g.uni(-40, w), y = g.uni(-40, h),
                  s = g.uni(8, 120) * (g.chance(.3f) ? 1.6f : .8f);
            V3 c = g.chance(.08f)   ? V3(1.8f, 1.7f, 1.6f)
                   : g.chance(.22f) ? V3(.5f, .31f, .22f) * g.uni(.4f, 1.3f)
                                    : col(.03f, .65f);
            if (g.chance(.6f))
                fillRect(x, y, x + s * g.uni(.2f, 2), y + s * g.uni(.2f, 2), c, g.uni(-.8f, .8f));
            else
                fillDisc(x, y, s * g.uni(.2f, .7f), s * g.uni(.2f, .7f), c, g.uni(.05f, .6f));
            if (g.chance(.25f)) {
                float bx = x;
                while (bx < x + s) {
                    float bw = g.uni(2, 8);
                    fillRect(bx, y, bx + bw, y + s * .6f, col(.04f, .6f));
                    bx += bw + g.uni(0, 3);
                }
            }
        }
    }
    for (auto& p : im)
        p = p * (1 + .02f * g.nrm());
    int r = std::max(0, int(blur));
    if (r) boxBlur(im, w, h, r, 3);
    std::vector<V3> o(size_t(W) * H);
    for (int y = 0; y < H; y++)
        for (int x = 0; x < W; x++) {
            float fx = std::min(w - 1.01f, std::max(0.f, (x + .5f) * w / W - .5f)),
                  fy = std::min(h - 1.01f, std::max(0.f, (y + .5f) * h / H - .5f));
            int ix = int(fx), iy = int(fy);
            fx -= ix;
            fy -= iy;
            const V3* p = &im[size_t(iy) * w + ix];
            o[size_t(y) * W + x] = mix(mix(p[0], p[1], fx), mix(p[w], p[w + 1], fx), fy);
        }
    return o;
}

} // namespace presenter
