// Port: finds hands in a picture.
// Threads: bound to one queue; implementations may follow hands from frame to frame.
#pragma once

#include <array>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/PixelBuffer.h"

namespace lanternfly {

// The joints as detectors name them.
enum class HandJoint {
    wrist,
    thumbCMC,
    thumbMP,
    thumbIP,
    thumbTip,
    indexMCP,
    indexPIP,
    indexDIP,
    indexTip,
    middleMCP,
    middlePIP,
    middleDIP,
    middleTip,
    ringMCP,
    ringPIP,
    ringDIP,
    ringTip,
    littleMCP,
    littlePIP,
    littleDIP,
    littleTip,
};
inline constexpr size_t handJointCount = 21;

struct HandObservation {
    // Anatomical: whose hand it is in the world, in a picture that is not mirrored.
    enum class Chirality { unknown, left, right };
    // Position in 0…1 with the origin at the lower left; confidence in 0…1.
    struct Point {
        float x = 0, y = 0, confidence = 0;
    };

    Chirality chirality = Chirality::unknown;
    // One entry a joint, in the order of HandJoint; empty for a joint that was not found.
    std::array<std::optional<Point>, handJointCount> points{};
    // False when the joints of this hand could not be read; `points` then says nothing.
    bool isReadable = true;
};

class HandPoseError : public std::runtime_error {
public:
    enum class Kind { modelUnreadable, detectionFailed };
    HandPoseError(Kind reason, const std::string& text) : std::runtime_error(text), kind(reason) {}
    const Kind kind;
};

class HandPoseDetector {
public:
    virtual ~HandPoseDetector() = default;
    // Looks for at most `maximumHandCount` hands in an upright 8-bit BGRA picture of any size and
    // replaces the contents of `hands`. Throws HandPoseError.
    virtual void detect(const PixelBuffer& picture, std::vector<HandObservation>& hands) = 0;

    static constexpr int maximumHandCount = 2;
};

} // namespace lanternfly
