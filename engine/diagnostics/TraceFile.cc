#include "diagnostics/TraceFile.h"

#include <cerrno>
#include <chrono>
#include <system_error>

#include <fmt/format.h>
#include <nlohmann/json.hpp>
#include <unistd.h>

#include "base/Logger.h"

namespace lanternfly {

namespace {

const Logger& logger() {
    static const Logger instance("TraceFile");
    return instance;
}

std::string errorText(int error) {
    return std::generic_category().message(error);
}

int currentThreadID() {
    thread_local const int id = gettid();
    return id;
}

// So that a trace of a program that dies is nearly whole.
constexpr auto longestDelay = std::chrono::milliseconds(500);

std::string quoted(const char* text) {
    return nlohmann::json(text).dump(-1, ' ', false, nlohmann::json::error_handler_t::replace);
}

} // namespace

std::unique_ptr<TraceFile> TraceFile::create(const std::filesystem::path& path,
                                             const Clock& clock) {
    File file(std::fopen(path.c_str(), "we"));
    if (!file) {
        logger().error("Cannot write the trace {}: {}", path.string(), errorText(errno));
        return nullptr;
    }
    return std::unique_ptr<TraceFile>(new TraceFile(std::move(file), clock));
}

TraceFile::TraceFile(File file, const Clock& clock) : _clock(clock), _file(std::move(file)) {
    _filling.reserve(capacityEvents);
    _writer = std::thread(&TraceFile::writeUntilStopped, this);
}

TraceFile::~TraceFile() {
    {
        const std::lock_guard guard(_mutex);
        _isStopping = true;
    }
    _wake.notify_one();
    _writer.join();
}

void TraceFile::record(Phase phase, const char* category, const char* name, uint64_t id) {
    const int thread = currentThreadID();
    bool isHalfFull = false;
    {
        const std::lock_guard guard(_mutex);
        if (_filling.size() == capacityEvents) {
            ++_droppedEvents;
            return;
        }
        // Read under the lock, so that the file's times never run backwards.
        _filling.push_back({_clock.uptimeNanos(), id, category, name, thread, phase});
        isHalfFull = _filling.size() == capacityEvents / 2;
    }
    if (isHalfFull) _wake.notify_one();
}

uint64_t TraceFile::droppedEvents() const {
    const std::lock_guard guard(_mutex);
    return _droppedEvents;
}

void TraceFile::writeUntilStopped() {
    const auto header = fmt::format(
        R"({{"ph":"M","name":"process_name","pid":{},"args":{{"name":"Lanternfly"}}}})", getpid());
    writeLine(header.data(), header.size());

    std::vector<Event> writing;
    writing.reserve(capacityEvents);
    for (bool isStopping = false; !isStopping;) {
        {
            std::unique_lock lock(_mutex);
            _wake.wait_for(lock, longestDelay,
                           [&] { return _isStopping || _filling.size() >= capacityEvents / 2; });
            isStopping = _isStopping;
            std::swap(_filling, writing);
        }
        write(writing);
        writing.clear();
    }

    const auto footer =
        fmt::format(R"({{"ph":"M","name":"dropped_events","pid":{},"args":{{"count":{}}}}})",
                    getpid(), droppedEvents());
    writeLine(footer.data(), footer.size());
    std::fputs("\n]\n", _file.get());
    if (std::fflush(_file.get()) != 0 && !_hasFailed)
        logger().error("The trace is incomplete: {}", errorText(errno));
}

void TraceFile::write(const std::vector<Event>& events) {
    if (events.empty()) return;
    const int process = getpid();
    fmt::memory_buffer line;
    for (const auto& event : events) {
        line.clear();
        fmt::format_to(
            fmt::appender(line),
            R"({{"ph":"{}","cat":{},"name":{},"id":{},"pid":{},"tid":{},"ts":{}.{:03}}})",
            static_cast<char>(event.phase), quoted(event.category), quoted(event.name), event.id,
            process, event.thread, event.nanos / 1000, event.nanos % 1000);
        writeLine(line.data(), line.size());
    }
    std::fflush(_file.get());
    if (!std::ferror(_file.get())) return;
    if (!_hasFailed) logger().error("The trace is incomplete: {}", errorText(errno));
    _hasFailed = true;
    std::clearerr(_file.get());
    const std::lock_guard guard(_mutex);
    _droppedEvents += events.size();
}

void TraceFile::writeLine(const char* text, size_t length) {
    std::fputs(_isFirstLine ? "[\n" : ",\n", _file.get());
    _isFirstLine = false;
    std::fwrite(text, 1, length, _file.get());
}

} // namespace lanternfly
