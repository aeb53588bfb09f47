// Tasks for a thread without an event loop of its own: others post, the thread runs them when it
// is ready to.
// Threads: post() is safe; the rest is bound to that thread.
#pragma once

#include <condition_variable>
#include <mutex>
#include <utility>
#include <vector>

#include "base/Task.h"

namespace lanternfly {

class TaskInbox {
public:
    void post(Task task) {
        const std::lock_guard guard(_mutex);
        _posted.push_back(std::move(task));
        _changed.notify_one();
    }
    // What has been posted until now, and what that posts.
    void run() {
        while (take(false))
            runTaken();
    }
    // Runs tasks, waiting for them, until `isDone()`.
    template <typename Condition>
    void runUntil(Condition isDone) {
        while (!isDone() && take(true))
            runTaken();
    }

private:
    bool take(bool waits) {
        std::unique_lock lock(_mutex);
        if (waits) _changed.wait(lock, [&] { return !_posted.empty(); });
        std::swap(_posted, _taken);
        return !_taken.empty();
    }
    void runTaken() {
        for (Task& task : _taken)
            task();
        _taken.clear();
    }

    std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<Task> _posted;
    std::vector<Task> _taken; // of the running thread
};

} // namespace lanternfly
