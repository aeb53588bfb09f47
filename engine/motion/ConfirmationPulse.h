// A short swelling of the overlay that says "got it".
// Threads: value.
#pragma once

namespace lanternfly {

struct ConfirmationPulse {
    float amplitude = 0;   // part of the scale that is added
    float decayRate = 15;  // per second
    double lastTickAt = 0; // media clock seconds

    // Ignored unless `magnitude` is above 0.
    void trigger(float magnitude, float rate, double now);
    // Decays to now and returns the amplitude.
    float tick(double now);
};

} // namespace lanternfly
