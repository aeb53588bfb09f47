#include "platform/linux/vision/GridDecoder.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace lanternfly {
namespace {

constexpr double unitHandPX = 64, unitFacePX = 48;
constexpr double lowestLogSide = -3, highestLogSide = 2.5;
// Two candidates closer than this part of the larger one's side are one hand, or one face.
constexpr double handSeparation = 0.35, faceSeparation = 0.4;
constexpr size_t firstHandChannel = 0, handChannels = 6;
constexpr size_t firstFaceChannel = 6, faceChannels = 5;

double sigmoid(double logit) {
    return 1 / (1 + std::exp(-std::clamp(logit, -30.0, 30.0)));
}

// The channels of one kind of thing: its score first, then the offset of its centre.
class Maps {
public:
    Maps(const DetectorGrid& grid, size_t first, size_t count)
        : _grid(grid), _first(first), _count(count) {
        assert(grid.values.size() == DetectorGrid::channels * grid.cells());
    }
    double at(size_t channel, int x, int y) const {
        return static_cast<double>(_grid.values[(_first + channel) * _grid.cells() +
                                                static_cast<size_t>(y * _grid.columns + x)]);
    }
    bool isPeak(int x, int y) const {
        const double own = sigmoid(at(0, x, y));
        for (int v = std::max(0, y - 1); v <= std::min(_grid.rows - 1, y + 1); ++v)
            for (int u = std::max(0, x - 1); u <= std::min(_grid.columns - 1, x + 1); ++u)
                // Equal neighbours are both peaks; the separation test keeps one.
                if (sigmoid(at(0, u, v)) - 1e-6 > own) return false;
        return true;
    }
    bool isFinite(int x, int y) const {
        for (size_t channel = 0; channel < _count; ++channel)
            if (!std::isfinite(at(channel, x, y))) return false;
        return true;
    }
    double2 centre(int x, int y) const {
        return double2{x + at(1, x, y) + 0.5, y + at(2, x, y) + 0.5} *
               static_cast<double>(_grid.stridePX);
    }
    double side(size_t channel, double unitPX, int x, int y) const {
        return unitPX * std::exp(std::clamp(at(channel, x, y), lowestLogSide, highestLogSide));
    }

private:
    const DetectorGrid& _grid;
    size_t _first, _count;
};

struct Peak {
    double score = 0;
    int x = 0, y = 0;
};

// Peaks are few; should a picture be full of them, the best of the list's length remain.
using Peaks = Candidates<Peak, 64>;

Peaks peaksOf(const DetectorGrid& grid, const Maps& maps, double threshold) {
    Peaks peaks;
    for (int y = 0; y < grid.rows; ++y)
        for (int x = 0; x < grid.columns; ++x) {
            if (!maps.isFinite(x, y)) continue;
            const Peak peak{sigmoid(maps.at(0, x, y)), x, y};
            if (peak.score <= threshold || !maps.isPeak(x, y)) continue;
            size_t place = peaks.count < Peaks::capacity ? peaks.count++ : Peaks::capacity;
            for (; place > 0 && peaks.items[place - 1].score < peak.score; --place)
                if (place < Peaks::capacity) peaks.items[place] = peaks.items[place - 1];
            if (place < Peaks::capacity) peaks.items[place] = peak;
        }
    return peaks;
}

// The candidates at the peaks, in pixels of the network's input, each away from every better one.
template <typename List, typename CandidateAt, typename IsNear>
List separated(const Peaks& peaks, CandidateAt&& candidateAt, IsNear&& isNear) {
    List found;
    for (const Peak& peak : peaks.all()) {
        if (found.count == List::capacity) break;
        const auto next = candidateAt(peak);
        const auto kept = found.all();
        if (std::none_of(kept.begin(), kept.end(),
                         [&](const auto& better) { return isNear(better, next); }))
            found.items[found.count++] = next;
    }
    return found;
}

} // namespace

Letterbox Letterbox::fitting(int2 pictureSizePX, int2 inputSizePX) {
    const double2 picture(pictureSizePX), input(inputSizePX);
    const double scale = std::min(input.x / picture.x, input.y / picture.y);
    const double2 size = picture * scale;
    return {.scale = scale,
            .left = static_cast<int>((input.x - size.x) / 2),
            .top = static_cast<int>((input.y - size.y) / 2),
            .widthPX = std::clamp(static_cast<int>(std::lround(size.x)), 1, inputSizePX.x),
            .heightPX = std::clamp(static_cast<int>(std::lround(size.y)), 1, inputSizePX.y)};
}

HandCandidates decodeHands(const DetectorGrid& grid, const Letterbox& letterbox, double threshold) {
    const Maps maps(grid, firstHandChannel, handChannels);
    auto found = separated<HandCandidates>(
        peaksOf(grid, maps, threshold),
        [&](const Peak& peak) {
            return HandCandidate{.score = peak.score,
                                 .crop = {.centre = maps.centre(peak.x, peak.y),
                                          .sidePX = maps.side(3, unitHandPX, peak.x, peak.y),
                                          .angleRad = std::atan2(maps.at(4, peak.x, peak.y),
                                                                 -maps.at(5, peak.x, peak.y))}};
        },
        [](const HandCandidate& a, const HandCandidate& b) {
            return glm::distance(a.crop.centre, b.crop.centre) <=
                   handSeparation * std::max(a.crop.sidePX, b.crop.sidePX);
        });
    for (size_t i = 0; i < found.count; ++i) {
        HandCrop& crop = found.items[i].crop;
        crop.centre = (crop.centre - double2{letterbox.left, letterbox.top}) / letterbox.scale;
        crop.sidePX /= letterbox.scale;
    }
    return found;
}

FaceCandidates decodeFaces(const DetectorGrid& grid, const Letterbox& letterbox, double threshold) {
    const Maps maps(grid, firstFaceChannel, faceChannels);
    auto found = separated<FaceCandidates>(
        peaksOf(grid, maps, threshold),
        [&](const Peak& peak) {
            return FaceCandidate{.score = peak.score,
                                 .centre = maps.centre(peak.x, peak.y),
                                 .size = {maps.side(3, unitFacePX, peak.x, peak.y),
                                          maps.side(4, unitFacePX, peak.x, peak.y)}};
        },
        [](const FaceCandidate& a, const FaceCandidate& b) {
            return glm::distance(a.centre, b.centre) <=
                   faceSeparation * std::max({a.size.x, a.size.y, b.size.x, b.size.y});
        });
    for (size_t i = 0; i < found.count; ++i) {
        FaceCandidate& face = found.items[i];
        face.centre = (face.centre - double2{letterbox.left, letterbox.top}) / letterbox.scale;
        face.size /= letterbox.scale;
    }
    return found;
}

} // namespace lanternfly
