#include "platform/linux/pipewire/Connection.h"

#include <cerrno>
#include <mutex>
#include <stdexcept>
#include <utility>

#include <pipewire/pipewire.h>

namespace lanternfly::pipewire {
namespace {

constexpr const char* libraryText = "PipeWire's client library does not start; reinstall it "
                                    "(sudo apt install --reinstall libpipewire-0.3-0 "
                                    "libpipewire-0.3-modules pipewire-bin)";
constexpr long beforeRetryNanos = 500'000'000;

void prepareLibrary() {
    static std::once_flag isPrepared;
    std::call_once(isPrepared, [] { pw_init(nullptr, nullptr); });
}

} // namespace

struct Connection::State {
    struct Destroy {
        void operator()(pw_thread_loop* thread) const { pw_thread_loop_destroy(thread); }
        void operator()(pw_context* context) const { pw_context_destroy(context); }
    };
    Events events;
    std::unique_ptr<pw_thread_loop, Destroy> thread;
    // Null without the settings files that come with PipeWire itself: it is not installed.
    std::unique_ptr<pw_context, Destroy> context;
    pw_core* core = nullptr;
    spa_source* retry = nullptr;
    spa_hook coreHook{};
    pw_core_events coreEvents{};
    bool isUnreachableTold = false;
    bool isStopping = false;

    ~State() {
        if (retry) pw_loop_destroy_source(loop(), retry);
    }

    pw_loop* loop() const { return pw_thread_loop_get_loop(thread.get()); }

    void scheduleRetry(long nanos) {
        timespec when{0, nanos};
        pw_loop_update_timer(loop(), retry, &when, nullptr, false);
    }
    void connect() {
        if (context) core = pw_context_connect(context.get(), nullptr, 0);
        if (!core) {
            if (context) scheduleRetry(beforeRetryNanos);
            if (!std::exchange(isUnreachableTold, true) && events.unreachable) events.unreachable();
            return;
        }
        isUnreachableTold = false;
        coreHook = {};
        pw_core_add_listener(core, &coreHook, &coreEvents, this);
        events.connected(*core);
    }
    void disconnect() {
        if (!core) return;
        events.disconnected();
        spa_hook_remove(&coreHook);
        pw_core_disconnect(std::exchange(core, nullptr));
    }
};

Connection::Connection(const char* threadName, Events events) : _state(std::make_unique<State>()) {
    prepareLibrary();
    State& state = *_state;
    state.events = std::move(events);
    state.coreEvents.version = PW_VERSION_CORE_EVENTS;
    state.coreEvents.error = [](void* self, uint32_t id, int, int code, const char*) {
        // Not here: the core must not go while it tells of its own error.
        if (id == PW_ID_CORE && code == -EPIPE) static_cast<State*>(self)->scheduleRetry(1);
    };
    state.thread.reset(pw_thread_loop_new(threadName, nullptr));
    if (!state.thread) throw std::runtime_error(libraryText);
    state.retry = pw_loop_add_timer(
        state.loop(),
        [](void* self, uint64_t) {
            auto& its = *static_cast<State*>(self);
            if (its.isStopping) return;
            its.disconnect();
            its.connect();
        },
        &state);
    state.context.reset(pw_context_new(state.loop(), nullptr, 0));
    if (!state.retry) throw std::runtime_error(libraryText);
}

Connection::~Connection() {
    stop();
}

void Connection::start() {
    withLock([this] { _state->connect(); });
    pw_thread_loop_start(_state->thread.get());
}

void Connection::stop() {
    withLock([this] {
        _state->isStopping = true;
        _state->disconnect();
    });
    pw_thread_loop_stop(_state->thread.get());
}

pw_loop* Connection::loop() const {
    return _state->loop();
}

void Connection::withLock(const std::function<void()>& task) const {
    pw_thread_loop_lock(_state->thread.get());
    task();
    pw_thread_loop_unlock(_state->thread.get());
}

} // namespace lanternfly::pipewire
