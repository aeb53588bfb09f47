// The two clocks of the engine: monotonic uptime in nanoseconds and the media clock in seconds.
// Threads: safe.
#pragma once

#include <atomic>
#include <cstdint>

namespace lanternfly {

class Clock {
public:
    virtual ~Clock() = default;
    // Monotonic; never 0, so that 0 can mean "no time" in events.
    virtual uint64_t uptimeNanos() const = 0;

    double uptimeSeconds() const { return static_cast<double>(uptimeNanos()) / 1e9; }
    // The media clock: the same monotonic time, in seconds.
    double mediaSeconds() const { return uptimeSeconds(); }
};

// The machine's clock. One instance serves the whole process.
class SystemClock final : public Clock {
public:
    static const SystemClock& shared();
    uint64_t uptimeNanos() const override;
};

// A clock that only moves when told to: for tests and for offline renders.
class ManualClock final : public Clock {
public:
    explicit ManualClock(uint64_t startNanos = 1'000'000'000'000) : _nanos(startNanos) {}

    uint64_t uptimeNanos() const override { return _nanos.load(std::memory_order_acquire); }
    void set(uint64_t nanos) { _nanos.store(nanos, std::memory_order_release); }
    void advanceNanos(uint64_t nanos) { _nanos.fetch_add(nanos, std::memory_order_acq_rel); }
    // Rounded to the nearest nanosecond.
    void advance(double seconds);

private:
    std::atomic<uint64_t> _nanos;
};

} // namespace lanternfly
