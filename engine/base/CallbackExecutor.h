// Runs a task later on a thread of the host's choice: a queue, or a user interface's event loop.
// Threads: safe.
#pragma once

#include <functional>
#include <memory>
#include <utility>

#include "base/SerialQueue.h"

namespace lanternfly {

using CallbackExecutor = std::function<void(Task)>;

inline CallbackExecutor executorOf(std::shared_ptr<SerialQueue> queue) {
    return [queue = std::move(queue)](Task task) { queue->async(std::move(task)); };
}

} // namespace lanternfly
