#include "platform/linux/vision/HeatmapDecoder.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <cstdlib>

#include "platform/linux/vision/HandGeometry.h"

namespace lanternfly {
namespace {

constexpr int windowRadius = 3;

// The prior is wide and capped: it decides between peaks and never outweighs clear evidence.
constexpr double priorSigma = 0.12; // of the crop
constexpr double priorCapNats = 4;

constexpr int sameSpotCells = 2;
constexpr int ownPeakRadius = 4;
constexpr int otherTipRadius = 3;
constexpr float secondPeakMass = 0.25f;

void softMax(std::span<const float> logits, std::span<float> probability) {
    const float top = *std::max_element(logits.begin(), logits.end());
    double sum = 0;
    for (size_t i = 0; i < logits.size(); ++i) {
        probability[i] = std::exp(logits[i] - top);
        sum += static_cast<double>(probability[i]);
    }
    const float scale = static_cast<float>(1 / sum);
    for (float& p : probability)
        p *= scale;
}

} // namespace

// How much the prior speaks against each cell.
class HeatmapDecoder::PriorCost {
public:
    PriorCost(const ExpectedJoint& expected, int side) : _weight(expected.weight) {
        for (int i = 0; i < side; ++i) {
            const double cell = (i + 0.5) / side;
            const double dx = (cell - expected.position.x) / priorSigma;
            const double dy = (cell - expected.position.y) / priorSigma;
            _x[static_cast<size_t>(i)] = 0.5 * dx * dx;
            _y[static_cast<size_t>(i)] = 0.5 * dy * dy;
        }
    }
    double nats(Cell cell) const {
        return std::min(_x[static_cast<size_t>(cell.x)] + _y[static_cast<size_t>(cell.y)],
                        priorCapNats) *
               _weight;
    }

private:
    double _weight;
    std::array<double, largestMapSide> _x, _y;
};

HeatmapDecoder::HeatmapDecoder(int mapSide, const JointOrder& order)
    : _side(std::clamp(mapSide, 1, largestMapSide)), _probability(handJointCount * cellsPerMap()) {
    for (size_t map = 0; map < order.size(); ++map)
        _mapOfJoint[index(order[map])] = map;
}

HeatmapDecoder::Cell HeatmapDecoder::cellAt(size_t offset) const {
    const auto side = static_cast<size_t>(_side);
    return {static_cast<int>(offset % side), static_cast<int>(offset / side)};
}

bool HeatmapDecoder::areWithin(Cell a, Cell b, int cells) {
    return std::max(std::abs(a.x - b.x), std::abs(a.y - b.y)) <= cells;
}

HeatmapDecoder::Cell HeatmapDecoder::peak(std::span<const float> logits,
                                          const ExpectedJoint* expected) const {
    if (!expected || expected->weight <= 0)
        return cellAt(
            static_cast<size_t>(std::max_element(logits.begin(), logits.end()) - logits.begin()));
    const PriorCost cost(*expected, _side);
    Cell best;
    double bestValue = -HUGE_VAL;
    size_t offset = 0;
    for (Cell cell; cell.y < _side; ++cell.y)
        for (cell.x = 0; cell.x < _side; ++cell.x) {
            const double value = static_cast<double>(logits[offset++]) - cost.nats(cell);
            if (value > bestValue) {
                bestValue = value;
                best = cell;
            }
        }
    return best;
}

// The mass beyond the first peak, lessened where the prior speaks against it: a hand that pinched a
// picture ago does not open at once because another finger looks a little like the missing tip.
HeatmapDecoder::SecondPeak HeatmapDecoder::secondPeak(std::span<const float> probability,
                                                      Cell first,
                                                      const ExpectedJoint& expected) const {
    const PriorCost cost(expected, _side);
    SecondPeak second;
    double highest = -1;
    for (size_t i = 0; i < probability.size(); ++i) {
        const Cell cell = cellAt(i);
        if (areWithin(cell, first, ownPeakRadius)) continue;
        const double p = static_cast<double>(probability[i]) * std::exp(-cost.nats(cell));
        second.mass += p;
        if (p > highest) {
            highest = p;
            second.cell = cell;
        }
    }
    return second;
}

DecodedJoint HeatmapDecoder::readAround(Cell centre, std::span<const float> probability) const {
    double mass = 0, x = 0, y = 0;
    const int left = std::max(0, centre.x - windowRadius);
    const int right = std::min(_side - 1, centre.x + windowRadius);
    const int top = std::max(0, centre.y - windowRadius);
    const int bottom = std::min(_side - 1, centre.y + windowRadius);
    for (int row = top; row <= bottom; ++row)
        for (int column = left; column <= right; ++column) {
            const double p =
                static_cast<double>(probability[static_cast<size_t>(row * _side + column)]);
            mass += p;
            x += p * (column - centre.x);
            y += p * (row - centre.y);
        }
    // A window without any probability says nothing about where inside it the joint is.
    const double2 offset = mass > 0 ? double2{x, y} / mass : double2{0, 0};
    return {.position =
                (double2{centre.x + 0.5, centre.y + 0.5} + offset) / static_cast<double>(_side),
            .confidence = static_cast<float>(std::min(mass, 1.0))};
}

void HeatmapDecoder::decode(std::span<const float> logits, const Expectation* expected,
                            Joints& joints) {
    assert(logits.size() == logitCount());
    std::array<Cell, handJointCount> cells;
    for (size_t joint = 0; joint < handJointCount; ++joint) {
        const auto map = logits.subspan(_mapOfJoint[joint] * cellsPerMap(), cellsPerMap());
        softMax(map, probability(joint));
        cells[joint] = peak(map, expected ? &(*expected)[joint] : nullptr);
    }

    Cell& thumb = cells[index(HandJoint::thumbTip)];
    Cell& forefinger = cells[index(HandJoint::indexTip)];
    if (areWithin(thumb, forefinger, sameSpotCells)) {
        const auto alternative = [&](HandJoint tip) {
            const size_t joint = index(tip);
            SecondPeak second = secondPeak(probability(joint), cells[joint],
                                           expected ? (*expected)[joint] : ExpectedJoint{});
            // On the tip of another finger it is that finger: the tips look alike.
            for (const HandJoint other :
                 {HandJoint::middleTip, HandJoint::ringTip, HandJoint::littleTip})
                if (areWithin(second.cell, cells[index(other)], otherTipRadius)) second.mass = 0;
            return second;
        };
        const SecondPeak ofThumb = alternative(HandJoint::thumbTip);
        const SecondPeak ofIndex = alternative(HandJoint::indexTip);
        if (std::max(ofThumb.mass, ofIndex.mass) > static_cast<double>(secondPeakMass)) {
            if (ofThumb.mass > ofIndex.mass)
                thumb = ofThumb.cell;
            else
                forefinger = ofIndex.cell;
        }
    }

    for (size_t joint = 0; joint < handJointCount; ++joint)
        joints[joint] = readAround(cells[joint], probability(joint));
}

} // namespace lanternfly
