// A damped spring that leans the overlay against its acceleration.
// Threads: value.
#pragma once

#include "base/Vectors.h"
#include "store/TiltConfig.h"

namespace lanternfly {

struct TiltSpring {
    float2 thetaRad{0, 0}; // about the horizontal axis, about the vertical axis
    float2 omega{0, 0};    // radians per second
    float2 lastVelocity{0, 0};
    double lastTime = 0; // media clock seconds; 0 before the first step

    // One frame: the overlay moves with `velocity` (canvas units per second). `drive` is radians
    // per unit of acceleration and replaces the configuration's own. Returns degrees.
    float2 step(float2 velocity, const TiltConfig& config, float drive, double now);
};

} // namespace lanternfly
