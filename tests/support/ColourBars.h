// Eight vertical bars of plain colours, for checks of conversions between RGB and YUV.
// Threads: value.
#pragma once

#include <algorithm>
#include <array>
#include <cstdlib>

#include "base/PixelBuffer.h"

namespace lanternfly::test {

struct Bgr {
    int b, g, r;
};
inline constexpr std::array<Bgr, 8> barColours{{{255, 255, 255},
                                                {0, 230, 230},
                                                {220, 200, 0},
                                                {0, 200, 0},
                                                {200, 0, 200},
                                                {0, 0, 230},
                                                {240, 20, 20},
                                                {0, 0, 0}}};

inline PixelBufferRef colourBars(int width, int height) {
    auto picture = PixelBuffer::create(width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const Bgr& bar =
                barColours[static_cast<size_t>(x) * barColours.size() / static_cast<size_t>(width)];
            uint8_t* pixel = picture->row(y) + x * 4;
            pixel[0] = static_cast<uint8_t>(bar.b);
            pixel[1] = static_cast<uint8_t>(bar.g);
            pixel[2] = static_cast<uint8_t>(bar.r);
            pixel[3] = 255;
        }
    return picture;
}

// The largest difference of any channel at the middle of each bar, and of alpha from 255.
inline int worstBarError(const PixelBuffer& picture) {
    int worst = 0;
    for (size_t bar = 0; bar < barColours.size(); ++bar) {
        const int x = static_cast<int>((2 * bar + 1) * static_cast<size_t>(picture.width()) /
                                       (2 * barColours.size()));
        const uint8_t* pixel = picture.row(picture.height() / 2) + x * 4;
        worst = std::max({worst, std::abs(pixel[0] - barColours[bar].b),
                          std::abs(pixel[1] - barColours[bar].g),
                          std::abs(pixel[2] - barColours[bar].r), 255 - pixel[3]});
    }
    return worst;
}

} // namespace lanternfly::test
