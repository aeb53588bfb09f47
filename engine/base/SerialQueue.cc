#include "base/SerialQueue.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <vector>

#include <pthread.h>
#include <sys/resource.h>
#include <unistd.h>

namespace lanternfly {

namespace {

// A ring that grows but never shrinks: a queue at its working depth allocates nothing.
class TaskRing {
public:
    bool isEmpty() const { return _count == 0; }

    void push(Task task) {
        if (_count == _slots.size()) grow();
        _slots[(_first + _count++) % _slots.size()] = std::move(task);
    }

    Task pop() {
        Task task = std::move(_slots[_first]);
        _first = (_first + 1) % _slots.size();
        --_count;
        return task;
    }

private:
    void grow() {
        std::vector<Task> larger(_slots.empty() ? 16 : _slots.size() * 2);
        for (size_t i = 0; i < _count; ++i)
            larger[i] = std::move(_slots[(_first + i) % _slots.size()]);
        _slots = std::move(larger);
        _first = 0;
    }

    std::vector<Task> _slots;
    size_t _first = 0;
    size_t _count = 0;
};

int niceValue(QualityOfService qualityOfService) {
    switch (qualityOfService) {
    case QualityOfService::userInteractive:
        return 0;
    case QualityOfService::userInitiated:
        return 2;
    case QualityOfService::utility:
        return 10;
    }
    return 0;
}

thread_local const void* currentQueueState = nullptr;

} // namespace

struct SerialQueue::State {
    std::string label;
    QualityOfService qualityOfService;
    std::mutex mutex;
    std::condition_variable changed;
    TaskRing tasks;
    bool isReleased = false;
};

SerialQueue::SerialQueue(std::string label, QualityOfService qualityOfService)
    : _state(std::make_shared<State>()) {
    _state->label = std::move(label);
    _state->qualityOfService = qualityOfService;
    std::thread([state = _state] { run(*state); }).detach();
}

SerialQueue::~SerialQueue() {
    const std::lock_guard guard(_state->mutex);
    _state->isReleased = true;
    _state->changed.notify_all();
}

void SerialQueue::async(Task task) {
    const std::lock_guard guard(_state->mutex);
    _state->tasks.push(std::move(task));
    _state->changed.notify_one();
}

void SerialQueue::sync(Task task) {
    if (isCurrent()) {
        task();
        return;
    }
    struct Completion {
        std::mutex mutex;
        std::condition_variable changed;
        bool isDone = false;
    } completion;
    async([&completion, &task] {
        task();
        const std::lock_guard guard(completion.mutex);
        completion.isDone = true;
        completion.changed.notify_one();
    });
    std::unique_lock lock(completion.mutex);
    completion.changed.wait(lock, [&] { return completion.isDone; });
}

bool SerialQueue::isCurrent() const {
    return currentQueueState == _state.get();
}

const std::string& SerialQueue::label() const {
    return _state->label;
}

void SerialQueue::run(State& state) {
    currentQueueState = &state;
    // Linux shows 15 characters of a thread's name: the end of the label tells queues apart.
    const std::string name =
        state.label.size() > 15 ? state.label.substr(state.label.size() - 15) : state.label;
    pthread_setname_np(pthread_self(), name.c_str());
    setpriority(PRIO_PROCESS, static_cast<id_t>(gettid()), niceValue(state.qualityOfService));

    for (;;) {
        Task task;
        {
            std::unique_lock lock(state.mutex);
            state.changed.wait(lock, [&] { return !state.tasks.isEmpty() || state.isReleased; });
            if (state.tasks.isEmpty()) return;
            task = state.tasks.pop();
        }
        task();
    }
}

} // namespace lanternfly
