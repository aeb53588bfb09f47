#include "platform/linux/vision/GridDecoder.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace lanternfly {
namespace {

constexpr double unitSidePX = 64;
constexpr double lowestLogSide = -3, highestLogSide = 2.5;
// Two candidates closer than this part of the larger one's side are one hand.
constexpr double separation = 0.35;

double sigmoid(double logit) {
    return 1 / (1 + std::exp(-std::clamp(logit, -30.0, 30.0)));
}

class Grid {
public:
    explicit Grid(std::span<const float> values) : _values(values) {}
    double at(size_t channel, int x, int y) const {
        return static_cast<double>(
            _values[channel * HandGrid::cells + static_cast<size_t>(y * HandGrid::columns + x)]);
    }
    bool isPeak(int x, int y) const {
        const double own = sigmoid(at(0, x, y));
        for (int v = std::max(0, y - 1); v <= std::min(HandGrid::rows - 1, y + 1); ++v)
            for (int u = std::max(0, x - 1); u <= std::min(HandGrid::columns - 1, x + 1); ++u)
                // Equal neighbours are both peaks; the separation test keeps one.
                if (sigmoid(at(0, u, v)) - 1e-6 > own) return false;
        return true;
    }
    bool isFinite(int x, int y) const {
        for (size_t channel = 0; channel < 6; ++channel)
            if (!std::isfinite(at(channel, x, y))) return false;
        return true;
    }
    // In pixels of the network's input.
    HandCandidate candidate(int x, int y) const {
        const double logSide = std::clamp(at(3, x, y), lowestLogSide, highestLogSide);
        return {.score = sigmoid(at(0, x, y)),
                .crop = {.centre = {(x + at(1, x, y) + 0.5) * HandGrid::stridePX,
                                    (y + at(2, x, y) + 0.5) * HandGrid::stridePX},
                         .sidePX = unitSidePX * std::exp(logSide),
                         .angleRad = std::atan2(at(4, x, y), -at(5, x, y))}};
    }

private:
    std::span<const float> _values;
};

struct Peak {
    double score = 0;
    int x = 0, y = 0;
};

} // namespace

Letterbox Letterbox::fitting(int pictureWidthPX, int pictureHeightPX) {
    const double scale = std::min(inputWidthPX / static_cast<double>(pictureWidthPX),
                                  inputHeightPX / static_cast<double>(pictureHeightPX));
    const double width = pictureWidthPX * scale, height = pictureHeightPX * scale;
    return {.scale = scale,
            .left = static_cast<int>((inputWidthPX - width) / 2),
            .top = static_cast<int>((inputHeightPX - height) / 2),
            .widthPX = std::clamp(static_cast<int>(std::lround(width)), 1, inputWidthPX),
            .heightPX = std::clamp(static_cast<int>(std::lround(height)), 1, inputHeightPX)};
}

HandCandidates decodeHands(std::span<const float> values, const Letterbox& letterbox,
                           double threshold) {
    assert(values.size() == HandGrid::valueCount);
    const Grid grid(values);

    // Peaks are few; should a picture be full of them, the best of the list's length remain.
    std::array<Peak, 64> peaks;
    size_t peakCount = 0;
    for (int y = 0; y < HandGrid::rows; ++y)
        for (int x = 0; x < HandGrid::columns; ++x) {
            if (!grid.isFinite(x, y)) continue;
            const Peak peak{sigmoid(grid.at(0, x, y)), x, y};
            if (peak.score <= threshold || !grid.isPeak(x, y)) continue;
            size_t place = peakCount < peaks.size() ? peakCount++ : peaks.size();
            for (; place > 0 && peaks[place - 1].score < peak.score; --place)
                if (place < peaks.size()) peaks[place] = peaks[place - 1];
            if (place < peaks.size()) peaks[place] = peak;
        }

    HandCandidates found;
    for (size_t i = 0; i < peakCount && found.count < HandCandidates::capacity; ++i) {
        const HandCandidate next = grid.candidate(peaks[i].x, peaks[i].y);
        const auto near = [&](const HandCandidate& kept) {
            return glm::distance(kept.crop.centre, next.crop.centre) <=
                   separation * std::max(kept.crop.sidePX, next.crop.sidePX);
        };
        if (std::none_of(found.items.begin(), found.items.begin() + static_cast<long>(found.count),
                         near))
            found.items[found.count++] = next;
    }
    for (size_t i = 0; i < found.count; ++i) {
        HandCrop& crop = found.items[i].crop;
        crop.centre = (crop.centre - double2{letterbox.left, letterbox.top}) / letterbox.scale;
        crop.sidePX /= letterbox.scale;
    }
    return found;
}

} // namespace lanternfly
