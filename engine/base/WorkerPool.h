// A few threads that help with work of many independent parts, such as a frame's bands.
// Threads: safe. One call at a time gets help; another that comes meanwhile, or from inside a part,
// does its own work alone, so that nobody ever waits for somebody else's.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <exception>
#include <mutex>
#include <thread>
#include <vector>

namespace lanternfly {

class WorkerPool {
public:
    // The process's own: there is one set of processors. It has as many helpers as there are more
    // processors than one, but few, since each has to be woken.
    static WorkerPool& shared();

    explicit WorkerPool(size_t helpers);
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    // How many threads may be at work in one call: the helpers and the caller.
    size_t threadCount() const { return _helpers.size() + 1; }

    // Calls body(part, thread) once for every part 0 … count - 1, in any order, and returns when
    // all are done. `thread` is below threadCount() and no two that run at the same time have the
    // same one: it picks memory that parts do not share. When a part throws, parts not yet begun
    // are left out and the call throws the first exception. Allocates nothing.
    template <typename Body>
    void forEach(size_t count, const Body& body) {
        Job job{&body,
                [](const void* called, size_t part, size_t thread) {
                    (*static_cast<const Body*>(called))(part, thread);
                },
                count};
        run(job);
    }

private:
    struct Job {
        const void* body;
        void (*call)(const void* body, size_t part, size_t thread);
        size_t count;
        std::atomic<size_t> next{0}; // part that nobody has begun
        std::mutex mutex{};
        std::exception_ptr failure{};

        void work(size_t thread);
    };

    void run(Job& job);
    void help(size_t thread);

    std::atomic<bool> _isTaken{false}; // by a call
    std::mutex _mutex;                 // of all below
    std::condition_variable _woken, _left;
    Job* _job = nullptr;   // that helpers may still join
    size_t _jobNumber = 0; // tells a helper a new job from the one that it has done
    size_t _helping = 0;   // helpers at work
    bool _isEnding = false;
    std::vector<std::thread> _helpers;
};

} // namespace lanternfly
