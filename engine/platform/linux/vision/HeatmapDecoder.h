// Reads joint positions out of the landmark network's maps.
// Threads: bound; keeps its scratch memory between calls.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "base/Vectors.h"
#include "platform/linux/vision/HandModel.h"

namespace lanternfly {

// A joint inside a crop: 0…1 from the upper left corner, and how sure the map is in 0…1.
struct DecodedJoint {
    double2 position{0, 0};
    float confidence = 0;
};

// Where a joint is expected, in 0…1 of the crop, and how much that counts in 0…1.
struct ExpectedJoint {
    double2 position{0, 0};
    double weight = 0;
};

class HeatmapDecoder {
public:
    static constexpr int largestMapSide = 256;

    using Joints = std::array<DecodedJoint, handJointCount>;
    using Expectation = std::array<ExpectedJoint, handJointCount>;

    // For maps of mapSide × mapSide cells, 1…largestMapSide, one a joint of `order`.
    explicit HeatmapDecoder(int mapSide, const JointOrder& order = usualJointOrder());
    size_t logitCount() const { return _probability.size(); }

    // `logits` holds logitCount() values, map by map. A position is the
    // expectation of the soft-maxed map inside a window around its peak, its confidence the
    // probability in that window. `expected` (may be null) only chooses between peaks of a map; it
    // does not pull the position. When thumb tip and index tip fall on one spot while one of their
    // maps has a clearly separate second peak that the prior allows and that is no other finger's
    // tip, that joint moves there: the two tips look alike.
    void decode(std::span<const float> logits, const Expectation* expected, Joints& joints);

private:
    class PriorCost;
    struct Cell {
        int x = 0, y = 0;
    };
    struct SecondPeak {
        double mass = 0;
        Cell cell;
    };

    static bool areWithin(Cell a, Cell b, int cells);
    size_t cellsPerMap() const { return static_cast<size_t>(_side) * static_cast<size_t>(_side); }
    std::span<float> probability(size_t joint) {
        return std::span(_probability).subspan(joint * cellsPerMap(), cellsPerMap());
    }
    Cell cellAt(size_t offset) const;
    Cell peak(std::span<const float> logits, const ExpectedJoint* expected) const;
    SecondPeak secondPeak(std::span<const float> probability, Cell first,
                          const ExpectedJoint& expected) const;
    DecodedJoint readAround(Cell centre, std::span<const float> probability) const;

    int _side;
    std::array<size_t, handJointCount> _mapOfJoint{};
    std::vector<float> _probability;
};

} // namespace lanternfly
