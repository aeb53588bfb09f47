// A FIFO of tasks run one at a time on a thread of its own.
// Threads: safe. The handle may be released on any thread, also by one of its own tasks: tasks
// already queued still run, then the thread ends.
#pragma once

#include <memory>
#include <string>

#include "base/Task.h"

namespace lanternfly {

enum class QualityOfService { userInteractive, userInitiated, utility };

class SerialQueue {
public:
    // `label` names the queue in logs and its thread in debuggers; the quality of service sets the
    // thread's nice value as far as the system permits.
    explicit SerialQueue(std::string label,
                         QualityOfService qualityOfService = QualityOfService::userInitiated);
    ~SerialQueue();
    SerialQueue(const SerialQueue&) = delete;
    SerialQueue& operator=(const SerialQueue&) = delete;

    void async(Task task);
    // Runs the task and waits for it; everything queued before has run by then. On the queue
    // itself the task runs at once, since waiting for oneself never ends.
    void sync(Task task);
    bool isCurrent() const;
    const std::string& label() const;

private:
    struct State;
    static void run(State& state);

    std::shared_ptr<State> _state;
};

} // namespace lanternfly
