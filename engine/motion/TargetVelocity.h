// How fast the overlay moves, from where it was in the last frames.
// Threads: value.
#pragma once

#include <array>
#include <cstddef>

#include "base/Vectors.h"

namespace lanternfly {

class TargetVelocity {
public:
    static constexpr size_t capacity = 8; // the newest samples are kept
    static constexpr float tauSeconds = 0.15f;

    // `time` is media clock seconds, `position` canvas units.
    void append(double time, float2 position);
    size_t count() const { return _count; }
    // Canvas units per second: the mean of the speeds between consecutive samples, each weighted
    // by exp(−age ÷ tau). (0, 0) with fewer than two samples.
    float2 estimate(double now) const;

private:
    struct TargetSample {
        double time;
        float2 position;
    };

    std::array<TargetSample, capacity> _samples{}; // oldest first
    size_t _count = 0;
};

} // namespace lanternfly
