#include "motion/TargetVelocity.h"

#include <algorithm>
#include <cmath>

namespace lanternfly {

void TargetVelocity::append(double time, float2 position) {
    if (_count == capacity) {
        std::shift_left(_samples.begin(), _samples.end(), 1);
        --_count;
    }
    _samples[_count++] = {time, position};
}

float2 TargetVelocity::estimate(double now) const {
    float2 sum{0, 0};
    float weights = 0;
    for (size_t index = 1; index < _count; ++index) {
        const auto& older = _samples[index - 1];
        const auto& newer = _samples[index];
        const double dt = newer.time - older.time;
        if (!(dt > 0)) continue;
        const float age = static_cast<float>(std::max(now - newer.time, 0.0));
        const float weight = std::exp(-age / tauSeconds);
        sum += weight * ((newer.position - older.position) / static_cast<float>(dt));
        weights += weight;
    }
    return weights > 0 ? sum / weights : float2{0, 0};
}

} // namespace lanternfly
