// Recycled pixel buffers of one size. A buffer returns to the pool when its last reference goes;
// in steady state taking one allocates nothing.
// Threads: safe. Buffers may outlive the pool.
#pragma once

#include "base/PixelBuffer.h"

namespace lanternfly {

class PixelBufferPool {
public:
    enum class Status : int { ok = 0, exhausted = -1, outOfMemory = -2 };
    struct Taken {
        PixelBufferRef buffer; // null unless status is ok
        Status status;
    };

    // At most `maxBuffers` are out at a time: a consumer that keeps frames must not eat the
    // machine's memory. Returns null when the size is out of PixelBuffer's range.
    static std::unique_ptr<PixelBufferPool> create(int width, int height, PixelFormat format,
                                                   int maxBuffers = 16);
    ~PixelBufferPool();

    Taken take();
    int width() const;
    int height() const;

private:
    struct State;
    template <typename T>
    struct ControlBlockAllocator;
    explicit PixelBufferPool(std::shared_ptr<State> state);

    std::shared_ptr<State> _state;
};

} // namespace lanternfly
