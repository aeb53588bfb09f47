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

// Where many frames are lost, the short intervals are the camera's own; their mean, because frames
// tremble.
uint64_t FrameRhythm::usualNanos() const {
    auto sorted = _intervals;
    const size_t count = std::min(_count, sorted.size());
    const auto end = sorted.begin() + static_cast<ptrdiff_t>(count);
    std::sort(sorted.begin(), end);
    const uint64_t longest = sorted[count / 10] * 3 / 2;
    const auto own = std::upper_bound(sorted.begin(), end, longest);
    return std::accumulate(sorted.begin(), own, uint64_t{0}) /
           static_cast<uint64_t>(own - sorted.begin());
}

} // namespace lanternfly
