#include "base/WorkerPool.h"

#include <algorithm>
#include <system_error>

#include <pthread.h>

namespace lanternfly {

namespace {

// Beyond these, a frame's parts become so short that waking somebody for them takes longer.
constexpr size_t maxSharedThreads = 4;

} // namespace

WorkerPool& WorkerPool::shared() {
    // Never destroyed: queues may still call it while the process ends.
    static WorkerPool& pool = *new WorkerPool(
        std::clamp<size_t>(std::thread::hardware_concurrency(), 1, maxSharedThreads) - 1);
    return pool;
}

WorkerPool::WorkerPool(size_t helpers) {
    _helpers.reserve(helpers);
    try {
        for (size_t i = 0; i < helpers; ++i)
            _helpers.emplace_back([this, thread = i + 1] { help(thread); });
    } catch (const std::system_error&) {
        // A process that may have no more threads works with those that it has.
    }
}

WorkerPool::~WorkerPool() {
    {
        const std::lock_guard guard(_mutex);
        _isEnding = true;
    }
    _woken.notify_all();
    for (std::thread& helper : _helpers)
        helper.join();
}

void WorkerPool::run(Job& job) {
    if (job.count < 2 || _helpers.empty() || _isTaken.exchange(true)) {
        job.work(0);
    } else {
        {
            const std::lock_guard guard(_mutex);
            _job = &job;
            ++_jobNumber;
        }
        for (size_t i = 0; i < std::min(_helpers.size(), job.count - 1); ++i)
            _woken.notify_one();
        job.work(0);
        std::unique_lock lock(_mutex);
        // Whoever was not woken in time is not waited for.
        _job = nullptr;
        _left.wait(lock, [&] { return _helping == 0; });
        lock.unlock();
        _isTaken = false;
    }
    if (job.failure) std::rethrow_exception(job.failure);
}

void WorkerPool::Job::work(size_t thread) {
    for (size_t part; (part = next.fetch_add(1, std::memory_order_relaxed)) < count;) {
        try {
            call(body, part, thread);
        } catch (...) {
            next = count;
            const std::lock_guard guard(mutex);
            if (!failure) failure = std::current_exception();
        }
    }
}

void WorkerPool::help(size_t thread) {
    pthread_setname_np(pthread_self(), "lantern.worker");
    size_t doneNumber = 0;
    std::unique_lock lock(_mutex);
    for (;;) {
        _woken.wait(lock, [&] { return _isEnding || (_job && _jobNumber != doneNumber); });
        if (_isEnding) return;
        Job& job = *_job;
        doneNumber = _jobNumber;
        ++_helping;
        lock.unlock();
        job.work(thread);
        lock.lock();
        if (--_helping == 0) _left.notify_one();
    }
}

} // namespace lanternfly
