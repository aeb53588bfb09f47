#include "Compression.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "Maths.h"

namespace presenter {

namespace {

constexpr int kSide = 8;
using Block = std::array<std::array<float, kSide>, kSide>;

// Row k is the k-th function of the orthonormal cosine transform (type II).
const Block& cosines() {
    static const Block rows = [] {
        Block c;
        for (int k = 0; k < kSide; k++)
            for (int n = 0; n < kSide; n++)
                c[k][n] = (k ? .5f : .35355339f) * std::cos((2 * n + 1) * k * kPi / 16);
        return c;
    }();
    return rows;
}

Block product(const Block& a, const Block& b) {
    Block c{};
    for (int y = 0; y < kSide; y++)
        for (int n = 0; n < kSide; n++)
            for (int x = 0; x < kSide; x++)
                c[y][x] += a[y][n] * b[n][x];
    return c;
}

Block transposed(const Block& a) {
    Block t;
    for (int y = 0; y < kSide; y++)
        for (int x = 0; x < kSide; x++)
            t[x][y] = a[y][x];
    return t;
}

void quantise(Block& block, float step) {
    const Block &c = cosines(), ct = transposed(c);
    block = product(product(c, block), ct);
    for (int k = 0; k < kSide; k++)
        for (int l = 0; l < kSide; l++) {
            const float coarse = step * (1 + .35f * (k + l));
            block[k][l] = std::round(block[k][l] / coarse) * coarse;
        }
    block = product(product(ct, block), c);
}

uint8_t byte(float v) {
    return uint8_t(std::min(255.f, std::max(0.f, v + .5f)));
}

} // namespace

void compress(std::vector<uint8_t>& rgb, int w, int h, float step) {
    Block luma, blue, red;
    for (int top = 0; top + kSide <= h; top += kSide)
        for (int left = 0; left + kSide <= w; left += kSide) {
            const auto pixel = [&](int x, int y) {
                return &rgb[(size_t(top + y) * w + left + x) * 3];
            };
            for (int y = 0; y < kSide; y++)
                for (int x = 0; x < kSide; x++) {
                    const uint8_t* p = pixel(x, y);
                    luma[y][x] = .299f * p[0] + .587f * p[1] + .114f * p[2];
                    blue[y][x] = p[2] - luma[y][x];
                    red[y][x] = p[0] - luma[y][x];
                }
            quantise(luma, step);
            quantise(blue, 1.8f * step);
            quantise(red, 1.8f * step);
            for (int y = 0; y < kSide; y++)
                for (int x = 0; x < kSide; x++) {
                    const float l = luma[y][x], b = l + blue[y][x], r = l + red[y][x];
                    uint8_t* p = pixel(x, y);
                    p[0] = byte(r);
                    p[1] = byte((l - .299f * r - .114f * b) / .587f);
                    p[2] = byte(b);
                }
        }
}

} // namespace presenter
