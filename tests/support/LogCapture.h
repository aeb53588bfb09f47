// Collects every log line of the process while it lives.
// Threads: safe.
#pragma once

#include <algorithm>
#include <mutex>
#include <string>
#include <vector>

#include "base/Logger.h"

namespace lanternfly::test {

class LogCapture {
public:
    struct Line {
        LogLevel level;
        std::string category;
        std::string message;
    };

    explicit LogCapture(LogLevel minimum = LogLevel::debug)
        : _previousLevel(Logger::minimumLevel()) {
        Logger::setMinimumLevel(minimum);
        _previous = Logger::exchangeSink([this](const LogRecord& record) {
            const std::lock_guard guard(_mutex);
            _lines.push_back(
                {record.level, std::string(record.category), std::string(record.message)});
        });
    }
    ~LogCapture() {
        Logger::exchangeSink(std::move(_previous));
        Logger::setMinimumLevel(_previousLevel);
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<Line> lines() const {
        const std::lock_guard guard(_mutex);
        return _lines;
    }
    size_t count(const std::string& message) const {
        const auto all = lines();
        return static_cast<size_t>(std::count_if(
            all.begin(), all.end(), [&](const Line& line) { return line.message == message; }));
    }
    bool contains(const std::string& message) const { return count(message) > 0; }

private:
    mutable std::mutex _mutex;
    std::vector<Line> _lines;
    Logger::Sink _previous;
    LogLevel _previousLevel;
};

} // namespace lanternfly::test
