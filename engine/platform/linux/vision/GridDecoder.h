// Reads hand candidates out of the detector network's grid.
// Threads: value.
#pragma once

#include <array>
#include <span>

#include "platform/linux/vision/HandGeometry.h"

namespace lanternfly {

// How a picture is laid into the detector's input: scaled to fit, centred, black around it.
struct Letterbox {
    static constexpr int inputWidthPX = 320;
    static constexpr int inputHeightPX = 192;

    double scale = 1; // input pixels a picture pixel
    int left = 0, top = 0;
    int widthPX = 0, heightPX = 0; // the picture's part of the input, at least 1 × 1
    bool operator==(const Letterbox&) const = default;

    static Letterbox fitting(int pictureWidthPX, int pictureHeightPX);
};

struct HandCandidate {
    double score = 0; // 0…1
    HandCrop crop;    // in pixels of the picture
};

// At most `capacity` candidates, best first.
struct HandCandidates {
    static constexpr size_t capacity = 4;
    std::array<HandCandidate, capacity> items;
    size_t count = 0;

    std::span<const HandCandidate> all() const { return {items.data(), count}; }
};

struct HandGrid {
    static constexpr int columns = 40;
    static constexpr int rows = 24;
    static constexpr int stridePX = 8;
    static constexpr size_t cells = static_cast<size_t>(columns) * rows;
    // 0 hand centre (logit); 1, 2 offset of the centre in cells; 3 log(crop side / 64 px);
    // 4, 5 direction wrist → fingers; 6…10 the same picture's faces.
    static constexpr size_t channels = 11;
    static constexpr size_t valueCount = channels * cells;
};

// `values` holds HandGrid::valueCount numbers, channel by channel. A candidate is a peak of its
// 3 × 3 neighbourhood with a score above `threshold`, away from every better one. Cells whose
// numbers are not finite are no candidates.
HandCandidates decodeHands(std::span<const float> values, const Letterbox& letterbox,
                           double threshold);

} // namespace lanternfly
