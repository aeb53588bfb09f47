#include "base/Logger.h"

#include <atomic>
#include <mutex>

#include <spdlog/sinks/stdout_color_sinks.h>
#include <spdlog/spdlog.h>

namespace lanternfly {

namespace {

std::atomic<LogLevel> currentMinimumLevel{LogLevel::info};

struct InstalledSink {
    std::mutex mutex;
    Logger::Sink sink;
};
InstalledSink& installedSink() {
    static InstalledSink installed;
    return installed;
}

spdlog::level::level_enum spdlogLevel(LogLevel level) {
    switch (level) {
    case LogLevel::debug:
        return spdlog::level::debug;
    case LogLevel::info:
        return spdlog::level::info;
    case LogLevel::warning:
        return spdlog::level::warn;
    case LogLevel::error:
        return spdlog::level::err;
    }
    return spdlog::level::info;
}

void writeToStandardError(const LogRecord& record) {
    static const auto logger = [] {
        auto made = std::make_shared<spdlog::logger>(
            "lanternfly", std::make_shared<spdlog::sinks::stderr_color_sink_mt>());
        made->set_level(spdlog::level::trace);
        made->set_pattern("%H:%M:%S.%e %^%l%$ %v");
        return made;
    }();
    logger->log(spdlogLevel(record.level), "[{}] {}", record.category, record.message);
}

} // namespace

Logger::Sink Logger::exchangeSink(Sink sink) {
    auto& installed = installedSink();
    const std::lock_guard guard(installed.mutex);
    return std::exchange(installed.sink, std::move(sink));
}

void Logger::setMinimumLevel(LogLevel level) {
    currentMinimumLevel.store(level);
}

LogLevel Logger::minimumLevel() {
    return currentMinimumLevel.load(std::memory_order_relaxed);
}

void Logger::write(LogLevel level, std::string_view message) const {
    const LogRecord record{level, _category, message};
    auto& installed = installedSink();
    const std::lock_guard guard(installed.mutex);
    if (installed.sink)
        installed.sink(record);
    else
        writeToStandardError(record);
}

} // namespace lanternfly
