// The approved picture of each scene, and what is kept of one that differs.
// Threads: safe.
#pragma once

#include <algorithm>
#include <filesystem>
#include <string>

#include "support/Pictures.h"
#include "support/Png.h"
#include "support/scenes/Scenes.h"

namespace lanternfly::test {

inline std::filesystem::path approvedFolder() {
    return LANTERNFLY_SOURCE_DIR "/tests/golden/approved";
}
inline std::filesystem::path approvedPath(const Scene& scene) {
    return approvedFolder() / (scene.name + ".png");
}
// Null when there is none.
inline PixelBufferRef approvedPicture(const Scene& scene) {
    return readPng(approvedPath(scene));
}

// Where two pictures of one size differ, 32 times as strong on mid grey.
inline PixelBufferRef amplifiedDifference(const PixelBuffer& a, const PixelBuffer& b) {
    auto result = PixelBuffer::create(a.width(), a.height());
    for (int y = 0; y < a.height(); ++y)
        for (int x = 0; x < a.width(); ++x) {
            const auto channel = [&](int c) {
                const int delta = a.row(y)[x * 4 + c] - b.row(y)[x * 4 + c];
                return std::clamp(128 + 32 * delta, 0, 255);
            };
            setPixel(*result, x, y, channel(2), channel(1), channel(0));
        }
    return result;
}

// Into golden/ of the build folder: actual and, when there is an approved picture, the difference.
inline void keepForInspection(const Scene& scene, const PixelBuffer& actual,
                              const PixelBuffer* approved) {
    const std::filesystem::path folder = LANTERNFLY_BUILD_DIR "/golden";
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);
    writePng(actual, folder / (scene.name + ".actual.png"));
    if (approved)
        writePng(*amplifiedDifference(actual, *approved), folder / (scene.name + ".diff.png"));
}

} // namespace lanternfly::test
