// Logging by category. Lines go to standard error, or to the sink that a host or a test installs.
// Threads: safe.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace lanternfly {

enum class LogLevel { debug, info, warning, error };

struct LogRecord {
    LogLevel level;
    std::string_view category;
    std::string_view message;
};

class Logger {
public:
    using Sink = std::function<void(const LogRecord&)>;

    explicit Logger(std::string category) : _category(std::move(category)) {}

    template <typename... Arguments>
    void debug(fmt::format_string<Arguments...> text, Arguments&&... arguments) const {
        log(LogLevel::debug, text, std::forward<Arguments>(arguments)...);
    }
    template <typename... Arguments>
    void info(fmt::format_string<Arguments...> text, Arguments&&... arguments) const {
        log(LogLevel::info, text, std::forward<Arguments>(arguments)...);
    }
    template <typename... Arguments>
    void warning(fmt::format_string<Arguments...> text, Arguments&&... arguments) const {
        log(LogLevel::warning, text, std::forward<Arguments>(arguments)...);
    }
    template <typename... Arguments>
    void error(fmt::format_string<Arguments...> text, Arguments&&... arguments) const {
        log(LogLevel::error, text, std::forward<Arguments>(arguments)...);
    }

    // Replaces where all lines of the process go, and returns the sink that was there. An empty
    // sink means standard error. Sinks are called on the logging thread, one line at a time.
    static Sink exchangeSink(Sink sink);
    // Lines below this level are dropped before they are formatted. Initially `info`.
    static void setMinimumLevel(LogLevel level);
    static LogLevel minimumLevel();

private:
    template <typename... Arguments>
    void log(LogLevel level, fmt::format_string<Arguments...> text,
             Arguments&&... arguments) const {
        if (level < minimumLevel()) return;
        fmt::memory_buffer line;
        fmt::format_to(fmt::appender(line), text, std::forward<Arguments>(arguments)...);
        write(level, {line.data(), line.size()});
    }
    void write(LogLevel level, std::string_view message) const;

    std::string _category;
};

} // namespace lanternfly
