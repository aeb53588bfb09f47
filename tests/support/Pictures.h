// Pictures made of formulas: a busy camera scene, a slide, noise.
// Threads: value.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstdlib>

#include "base/PixelBuffer.h"

namespace lanternfly::test {

inline void setPixel(PixelBuffer& pixels, int x, int y, int r, int g, int b, int a = 255) {
    uint8_t* p = pixels.row(y) + x * 4;
    p[0] = static_cast<uint8_t>(b);
    p[1] = static_cast<uint8_t>(g);
    p[2] = static_cast<uint8_t>(r);
    p[3] = static_cast<uint8_t>(a);
}

inline uint32_t hash(uint32_t x) {
    x ^= x >> 16;
    x *= 0x7feb352du;
    x ^= x >> 15;
    x *= 0x846ca68bu;
    return x ^ (x >> 16);
}

// A room: a wall with a gradient, bright and dark edges, a little sensor noise of an odd number of
// levels. Opaque.
inline PixelBufferRef cameraScene(int width, int height, uint32_t seed = 1,
                                  uint32_t noiseLevels = 9) {
    auto pixels = PixelBuffer::create(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double u = (x + 0.5) / width;
            const double v = (y + 0.5) / height;
            double r = 150 - 60 * v + 30 * u;
            double g = 138 - 50 * v;
            double b = 128 - 40 * v - 20 * u;
            if (std::hypot((u - 0.72) * width / height, v - 0.62) < 0.28) r = 96, g = 72, b = 60;
            if (std::hypot((u - 0.72) * width / height, v - 0.32) < 0.13) r = 214, g = 170, b = 146;
            if (u < 0.45 && u > 0.05 && v > 0.08 && v < 0.5 && std::fmod(u * 20, 1) < 0.85)
                r = 60 + 190 * std::fmod(u * 3.1, 1), g = 90 + 100 * std::fmod(v * 5.3, 1), b = 70;
            const auto noise =
                static_cast<int>(hash(seed + static_cast<uint32_t>(y * 16384 + x)) % noiseLevels) -
                static_cast<int>(noiseLevels / 2);
            const auto channel = [&](double c) {
                return static_cast<int>(std::fmin(std::fmax(c + noise, 0), 255));
            };
            setPixel(*pixels, x, y, channel(r), channel(g), channel(b));
        }
    return pixels;
}

// A light slide with a title bar, lines of "text" and a thin grid; the first row is the top.
inline PixelBufferRef slidePicture(int width, int height, int alpha = 255) {
    auto pixels = PixelBuffer::create(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const double u = (x + 0.5) / width;
            const double v = (y + 0.5) / height;
            int r = 244, g = 245, b = 248;
            if (v > 0.1 && v < 0.2 && u > 0.07 && u < 0.6) r = 30, g = 60, b = 140;
            for (int line = 0; line < 6; ++line) {
                const double top = 0.32 + line * 0.09;
                if (v > top && v < top + 0.035 && u > 0.07 && u < 0.5 - 0.03 * (line % 3) &&
                    hash(static_cast<uint32_t>(u * 160) + 977u * static_cast<uint32_t>(line)) % 5)
                    r = 50, g = 52, b = 58;
            }
            if (u > 0.58 && u < 0.93 && v > 0.32 && v < 0.82) {
                r = 120, g = 180, b = 220;
                if (x % 32 == 0 || y % 32 == 0) r = g = b = 20;
            }
            setPixel(*pixels, x, y, r * alpha / 255, g * alpha / 255, b * alpha / 255, alpha);
        }
    return pixels;
}

// Hard edges and noise: the worst that a blur meets.
inline PixelBufferRef noisePicture(int width, int height, uint32_t seed = 1) {
    auto pixels = PixelBuffer::create(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const uint32_t h = hash(seed + static_cast<uint32_t>(y * 16384 + x));
            const int block = ((x / 37) ^ (y / 23)) & 1 ? 200 : 20;
            setPixel(*pixels, x, y, (block + static_cast<int>(h & 31)),
                     (255 - block + static_cast<int>((h >> 8) & 31)) & 255,
                     static_cast<int>((h >> 16) & 255));
        }
    return pixels;
}

struct PictureDifference {
    int largest = 0;       // of any channel
    int64_t differing = 0; // pixels
    double meanSquare = 0; // of all channels but alpha
    double psnr() const { return 10 * std::log10(255.0 * 255.0 / std::fmax(meanSquare, 1e-12)); }
};

// Both of one size.
inline PictureDifference difference(const PixelBuffer& a, const PixelBuffer& b) {
    PictureDifference result;
    double squares = 0;
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            bool differs = false;
            for (int c = 0; c < 4; ++c) {
                const int delta = std::abs(a.row(y)[x * 4 + c] - b.row(y)[x * 4 + c]);
                result.largest = delta > result.largest ? delta : result.largest;
                differs |= delta != 0;
                if (c < 3) squares += delta * delta;
            }
            result.differing += differs;
        }
    result.meanSquare = squares / (3.0 * a.width() * a.height());
    return result;
}

} // namespace lanternfly::test
