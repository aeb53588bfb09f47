#include "app/live/FrameRhythm.h"

#include <algorithm>
#include <cmath>
#include <numeric>
#include <utility>

namespace lanternfly {

int64_t FrameRhythm::take(uint64_t nanos) {
    const uint64_t last = std::exchange(_lastNanos, nanos);
    if (last == 0 || nanos <= last) return 0;
    const uint64_t interval = nanos - last;
    if (interval > longestGapNanos) return 0;
    int64_t missing = 0;
    if (_count >= leastIntervals) {
        const double frames = static_cast<double>(interval) / static_cast<double>(usualNanos());
        missing = std::max<int64_t>(std::llround(frames) - 1, 0);
    }
    _intervals[_count++ % _intervals.size()] = interval;
    return missing;
}

// The mean: a camera whose frames tremble has no interval that stands for all.
uint64_t FrameRhythm::usualNanos() const {
    const size_t count = std::min(_count, _intervals.size());
    return std::accumulate(_intervals.begin(), _intervals.begin() + static_cast<ptrdiff_t>(count),
                           uint64_t{0}) /
           count;
}

} // namespace lanternfly
