// Reads hand and face candidates out of the detector network's grid.
// Threads: value.
#pragma once

#include <array>
#include <span>

#include "platform/linux/vision/HandGeometry.h"

namespace lanternfly {

// How a picture is laid into the detector's input: scaled to fit, centred, black around it.
struct Letterbox {
    double scale = 1; // input pixels a picture pixel
    int left = 0, top = 0;
    int widthPX = 0, heightPX = 0; // the picture's part of the input, at least 1 × 1
    bool operator==(const Letterbox&) const = default;

    static Letterbox fitting(int2 pictureSizePX, int2 inputSizePX);
};

struct HandCandidate {
    double score = 0; // 0…1
    HandCrop crop;    // in pixels of the picture
};

struct FaceCandidate {
    double score = 0;     // 0…1
    double2 centre{0, 0}; // in pixels of the picture, as its size
    double2 size{0, 0};
};

// At most `capacity` candidates, best first.
template <typename Candidate, size_t maximumCount>
struct Candidates {
    static constexpr size_t capacity = maximumCount;
    std::array<Candidate, capacity> items;
    size_t count = 0;

    std::span<const Candidate> all() const { return {items.data(), count}; }
};
using HandCandidates = Candidates<HandCandidate, 4>;
using FaceCandidates = Candidates<FaceCandidate, 8>;

struct DetectorGrid {
    // 0 hand centre (logit); 1, 2 offset of the centre in cells; 3 log(crop side / 64 px);
    // 4, 5 direction wrist → fingers; 6 face centre (logit); 7, 8 offset of the centre in cells;
    // 9, 10 log(width / 48 px), log(height / 48 px).
    static constexpr size_t channels = 11;

    int columns = 0, rows = 0;
    int stridePX = 8;                // input pixels a cell
    std::span<const float> values{}; // `channels` maps of rows × columns

    size_t cells() const { return static_cast<size_t>(columns) * static_cast<size_t>(rows); }
};

// A candidate is a peak of its 3 × 3 neighbourhood with a score above `threshold`, away from every
// better one. Cells whose numbers are not finite are no candidates.
HandCandidates decodeHands(const DetectorGrid& grid, const Letterbox& letterbox, double threshold);
FaceCandidates decodeFaces(const DetectorGrid& grid, const Letterbox& letterbox, double threshold);

} // namespace lanternfly
