// Reads joint positions out of the landmark network's maps.
// Threads: bound; keeps its scratch memory between calls.
#pragma once

#include <array>
#include <span>
#include <vector>

#include "base/Vectors.h"
#include "platform/HandPoseDetector.h"

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
    static constexpr int mapSide = 40;
    static constexpr size_t cellsPerMap = static_cast<size_t>(mapSide) * mapSide;
    static constexpr size_t logitCount = handJointCount * cellsPerMap;

    using Joints = std::array<DecodedJoint, handJointCount>;
    using Expectation = std::array<ExpectedJoint, handJointCount>;

    HeatmapDecoder() : _probability(logitCount) {}

    // `logits` holds logitCount values, one map of mapSide × mapSide a joint. A position is the
    // expectation of the soft-maxed map inside a window around its peak, its confidence the
    // probability in that window. `expected` (may be null) only chooses between peaks of a map; it
    // does not pull the position. When thumb tip and index tip fall on one spot while one of their
    // maps has a clearly separate second peak that the prior allows and that is no other finger's
    // tip, that joint moves there: the two tips look alike.
    void decode(std::span<const float> logits, const Expectation* expected, Joints& joints);

private:
    std::span<float> probability(size_t joint) {
        return std::span(_probability).subspan(joint * cellsPerMap, cellsPerMap);
    }
    std::vector<float> _probability;
};

} // namespace lanternfly
