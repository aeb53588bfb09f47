#include "app/live/LiveFigures.h"

#include <algorithm>

namespace lanternfly {

StageSummary LiveFigures::Ring::summary() const {
    return summarize(
        {_values.begin(), _values.begin() + static_cast<ptrdiff_t>(std::min(_count, remembered))});
}

void LiveFigures::frameDone(uint64_t arrived) {
    const uint64_t now = _clock.uptimeNanos();
    const std::lock_guard guard(_mutex);
    if (_counts.frames++ == 0) _counts.firstFrameMs = static_cast<double>(now - _startNanos) / 1e6;
    _counts.lostFrames += static_cast<uint64_t>(_rhythm.take(arrived));
    _frameMs.add(now > arrived ? static_cast<float>(now - arrived) / 1e6f : 0);
    countDone(now);
}

void LiveFigures::standInDone() {
    const uint64_t now = _clock.uptimeNanos();
    const std::lock_guard guard(_mutex);
    ++_counts.standIns;
    countDone(now);
}

void LiveFigures::targetSet(double latencyMs) {
    const std::lock_guard guard(_mutex);
    _targetMs.add(static_cast<float>(latencyMs));
}

LiveFigures::Readout LiveFigures::readout() const {
    constexpr uint64_t windowNanos = 2'000'000'000;
    const uint64_t now = _clock.uptimeNanos();
    const std::lock_guard guard(_mutex);
    Readout readout = _counts;
    readout.frame = _frameMs.summary();
    readout.target = _targetMs.summary();
    // Between the frames of the last moments.
    uint64_t first = now, last = 0, count = 0;
    for (uint64_t i = 0; i < std::min<uint64_t>(_done, _doneAt.size()); ++i) {
        const uint64_t at = _doneAt[i];
        if (now - at > windowNanos) continue;
        first = std::min(first, at);
        last = std::max(last, at);
        ++count;
    }
    if (count > 1 && last > first)
        readout.framesPerSecond =
            static_cast<double>(count - 1) * 1e9 / static_cast<double>(last - first);
    return readout;
}

} // namespace lanternfly
