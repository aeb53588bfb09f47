// The one-euro filter: a low-pass whose cutoff rises with speed, so that a resting hand is steady
// and a moving one is not late (Casiez, Roussel, Vogel, CHI 2012).
// Threads: value. Each owner keeps its own copy.
#pragma once

#include "base/Vectors.h"

namespace lanternfly {

struct OneEuroFilter {
    float minCutoff;   // Hz
    float beta;        // Hz of cutoff per unit per second of speed
    float derivCutoff; // Hz, of the derivative's own low-pass
    bool hasPrevious = false;
    float previousValue = 0; // raw
    float previousFiltered = 0;
    float previousDerivativeFiltered = 0; // units per second
    double previousTimestamp = 0;         // seconds

    OneEuroFilter(float minCutoffHz, float speedBeta, float derivCutoffHz)
        : minCutoff(minCutoffHz), beta(speedBeta), derivCutoff(derivCutoffHz) {}

    // The first sample after construction or reset() comes back as it is. `atTimestamp` is in
    // seconds; a time that repeats or runs backwards counts as one microsecond later.
    float filter(float value, double atTimestamp);
    // Forgets the samples, keeps the parameters.
    void reset();
    float smoothedDerivative() const { return previousDerivativeFiltered; }

    friend bool operator==(const OneEuroFilter&, const OneEuroFilter&) = default;
};

struct OneEuroFilter2D {
    OneEuroFilter x, y;

    OneEuroFilter2D(float minCutoffHz, float speedBeta, float derivCutoffHz)
        : x(minCutoffHz, speedBeta, derivCutoffHz), y(minCutoffHz, speedBeta, derivCutoffHz) {}

    float2 filter(float2 value, double atTimestamp) {
        const float filteredX = x.filter(value.x, atTimestamp);
        return {filteredX, y.filter(value.y, atTimestamp)};
    }
    void reset() {
        x.reset();
        y.reset();
    }
    // Units per second.
    float2 smoothedVelocity() const { return {x.smoothedDerivative(), y.smoothedDerivative()}; }

    friend bool operator==(const OneEuroFilter2D&, const OneEuroFilter2D&) = default;
};

} // namespace lanternfly
