// An open right hand with its fingers up, for tests of crops and tracks.
#pragma once

#include <cmath>

#include "platform/linux/vision/HandSight.h"

namespace lanternfly {

// The wrist lies at `wrist`; the hand is about 100 × 160 units of `scale` pixels.
inline JointPositions testHand(double2 wrist, double scale = 1) {
    constexpr std::array<double2, handJointCount> shape{{
        {0, 0},                                            // wrist
        {-24, -16}, {-40, -40},  {-52, -60},  {-62, -76},  // thumb
        {-20, -80}, {-24, -112}, {-26, -130}, {-28, -146}, // index
        {0, -84},   {0, -120},   {0, -142},   {0, -160},   // middle
        {16, -80},  {20, -112},  {22, -132},  {24, -148},  // ring
        {30, -72},  {36, -96},   {38, -110},  {40, -122},  // little
    }};
    JointPositions joints;
    for (size_t i = 0; i < joints.size(); ++i)
        joints[i] = wrist + shape[i] * scale;
    return joints;
}

inline JointPositions rotated(JointPositions joints, double2 about, double angleRad) {
    const double c = std::cos(angleRad), s = std::sin(angleRad);
    for (double2& p : joints) {
        const double2 d = p - about;
        p = about + double2{c * d.x - s * d.y, s * d.x + c * d.y};
    }
    return joints;
}

inline HandReading testReading(const JointPositions& joints, float confidence = 0.9f,
                               double presence = 0.95, double rightProbability = 0.9) {
    HandReading reading{
        .joints = joints, .presence = presence, .rightProbability = rightProbability};
    reading.confidences.fill(confidence);
    return reading;
}

} // namespace lanternfly
