// What the hand tracker asks of one picture. The networks answer it; tests answer it with scripts.
// Threads: bound.
#pragma once

#include <array>
#include <numeric>

#include "platform/linux/vision/GridDecoder.h"
#include "platform/linux/vision/HandGeometry.h"

namespace lanternfly {

// One look of the landmark network at one crop.
struct HandReading {
    JointPositions joints{};                         // pixels of the picture
    std::array<float, handJointCount> confidences{}; // 0…1
    double presence = 0;                             // 0…1: there is a hand in the crop
    double rightProbability = 0.5;                   // 0…1: it is a right hand

    double meanConfidence() const {
        return std::accumulate(confidences.begin(), confidences.end(), 0.0) /
               static_cast<double>(confidences.size());
    }
};

// Where the joints are expected, in pixels of the picture, and how much that counts in 0…1.
struct JointPrior {
    JointPositions joints{};
    std::array<double, handJointCount> weights{};
};

// One look of the detector network at the whole picture.
struct Sighting {
    HandCandidates hands;
    FaceCandidates faces;
};

class HandSight {
public:
    virtual ~HandSight() = default;
    virtual int widthPX() const = 0;
    virtual int heightPX() const = 0;
    // Looks at the whole picture for hands with a score above `handThreshold` (0…1), and for faces.
    virtual Sighting search(double handThreshold) = 0;
    // Reads the joints inside a crop; `prior` may be null.
    virtual HandReading read(const HandCrop& crop, const JointPrior* prior) = 0;
};

} // namespace lanternfly
