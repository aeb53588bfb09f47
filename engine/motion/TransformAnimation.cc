#include "motion/TransformAnimation.h"

#include <algorithm>
#include <cmath>

namespace lanternfly {

OverlayTransform TransformAnimation::at(double now) const {
    const double elapsed = now - startTime;
    if (!isAnimating || !(durationSeconds > 0) || !(elapsed < durationSeconds)) return target;
    const float progress = curve(static_cast<float>(std::max(elapsed, 0.0) / durationSeconds));
    if (!std::isfinite(progress)) return target;
    return {start.position + (target.position - start.position) * progress,
            start.scale + (target.scale - start.scale) * progress,
            start.visibility + (target.visibility - start.visibility) * progress};
}

void TransformAnimation::retarget(const OverlayTransform& newTarget, double duration,
                                  EasingCurve newCurve, double now) {
    start = at(now);
    target = newTarget;
    startTime = now;
    durationSeconds = duration;
    isAnimating = duration > 0 && start != target;
    curve = newCurve;
    if (!isAnimating) start = target;
}

void TransformAnimation::settle(double now) {
    if (!isAnimating || startTime + durationSeconds > now) return;
    isAnimating = false;
    start = target;
}

} // namespace lanternfly
