#include "base/PixelBufferPool.h"

#include <mutex>
#include <vector>

namespace lanternfly {

struct PixelBufferPool::State {
    int width;
    int height;
    PixelFormat format;
    int maxBuffers;

    std::mutex mutex;
    int buffersOut = 0;
    std::vector<PixelBufferRef> idleBuffers;
    std::vector<void*> idleBlocks; // control blocks of handed-out references, all of one size
    size_t blockBytes = 0;

    ~State() {
        for (void* block : idleBlocks)
            ::operator delete(block);
    }
};

// Keeps the control blocks of the handed-out references for reuse, and the state alive for them.
template <typename T>
struct PixelBufferPool::ControlBlockAllocator {
    using value_type = T;

    explicit ControlBlockAllocator(std::shared_ptr<State> owner) : state(std::move(owner)) {}
    template <typename U>
    ControlBlockAllocator(const ControlBlockAllocator<U>& other) : state(other.state) {}

    T* allocate(size_t count) {
        const std::lock_guard guard(state->mutex);
        state->blockBytes = count * sizeof(T);
        if (state->idleBlocks.empty()) return static_cast<T*>(::operator new(state->blockBytes));
        void* block = state->idleBlocks.back();
        state->idleBlocks.pop_back();
        return static_cast<T*>(block);
    }
    void deallocate(T* block, size_t) {
        const std::lock_guard guard(state->mutex);
        state->idleBlocks.push_back(block);
    }
    template <typename U>
    bool operator==(const ControlBlockAllocator<U>& other) const {
        return state == other.state;
    }

    std::shared_ptr<State> state;
};

PixelBufferPool::PixelBufferPool(std::shared_ptr<State> state) : _state(std::move(state)) {}
PixelBufferPool::~PixelBufferPool() = default;

std::unique_ptr<PixelBufferPool> PixelBufferPool::create(int width, int height, PixelFormat format,
                                                         int maxBuffers) {
    if (PixelBuffer::sizeBytes(width, height, format) == 0 || maxBuffers < 1) return nullptr;
    auto state = std::make_shared<State>();
    state->width = width;
    state->height = height;
    state->format = format;
    state->maxBuffers = maxBuffers;
    state->idleBuffers.reserve(static_cast<size_t>(maxBuffers));
    state->idleBlocks.reserve(static_cast<size_t>(maxBuffers));
    return std::unique_ptr<PixelBufferPool>(new PixelBufferPool(std::move(state)));
}

PixelBufferPool::Taken PixelBufferPool::take() {
    PixelBufferRef buffer;
    {
        const std::lock_guard guard(_state->mutex);
        if (_state->buffersOut == _state->maxBuffers) return {nullptr, Status::exhausted};
        if (_state->idleBuffers.empty()) {
            buffer = PixelBuffer::create(_state->width, _state->height, _state->format);
            if (!buffer) return {nullptr, Status::outOfMemory};
        } else {
            buffer = std::move(_state->idleBuffers.back());
            _state->idleBuffers.pop_back();
        }
        ++_state->buffersOut;
    }
    PixelBuffer* pixels = buffer.get();
    auto giveBack = [state = _state, kept = std::move(buffer)](PixelBuffer*) mutable {
        const std::lock_guard guard(state->mutex);
        state->idleBuffers.push_back(std::move(kept));
        --state->buffersOut;
    };
    return {PixelBufferRef(pixels, std::move(giveBack), ControlBlockAllocator<PixelBuffer>(_state)),
            Status::ok};
}

int PixelBufferPool::width() const {
    return _state->width;
}
int PixelBufferPool::height() const {
    return _state->height;
}

} // namespace lanternfly
