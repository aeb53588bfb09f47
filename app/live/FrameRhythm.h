// How many frames are missing between two that came: cameras keep a rhythm, and a gap in it is what
// was lost. A rhythm that changes for good, as in dim light, is learned.
// Threads: bound.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

namespace lanternfly {

class FrameRhythm {
public:
    // A longer gap is a camera that was away.
    static constexpr uint64_t longestGapNanos = 1'000'000'000;

    // The number of frames that are missing before this one.
    int64_t take(uint64_t nanos);

private:
    static constexpr size_t rememberedIntervals = 31;
    static constexpr size_t leastIntervals = 8; // before anything is said
    uint64_t usualNanos() const;

    std::array<uint64_t, rememberedIntervals> _intervals{};
    size_t _count = 0;
    uint64_t _lastNanos = 0; // 0: none
};

} // namespace lanternfly
