#include "app/cli/Progress.h"

#include <cstdio>
#include <unistd.h>

#include <fmt/format.h>

#include "base/Clock.h"

namespace lanternfly {
namespace {

constexpr uint64_t terminalNanos = 200'000'000;
constexpr uint64_t logNanos = 10'000'000'000;

} // namespace

Progress::Progress(int64_t total)
    : _total(total), _isTerminal(isatty(STDERR_FILENO) != 0),
      _startNanos(SystemClock::shared().uptimeNanos()), _lastNanos(_startNanos) {}

Progress::~Progress() {
    clear();
}

void Progress::update(int64_t frames) {
    const uint64_t now = SystemClock::shared().uptimeNanos();
    if (now - _lastNanos < (_isTerminal ? terminalNanos : logNanos)) return;
    _lastNanos = now;
    const double elapsed = static_cast<double>(now - _startNanos) / 1e9;
    const double perSecond = static_cast<double>(frames) / elapsed;
    fmt::memory_buffer line;
    const auto out = fmt::appender(line);
    fmt::format_to(out, "{} frames", frames);
    if (_total >= frames) fmt::format_to(out, " of {}", _total);
    fmt::format_to(out, ", {:.1f} a second", perSecond);
    if (_total >= frames)
        fmt::format_to(out, ", {:.0f} s to go", static_cast<double>(_total - frames) / perSecond);
    fmt::print(stderr, "{}{}{}", _isTerminal ? "\r\033[K" : "",
               std::string_view(line.data(), line.size()), _isTerminal ? "" : "\n");
    std::fflush(stderr);
    _isShown = true;
}

void Progress::clear() {
    if (_isTerminal && _isShown) fmt::print(stderr, "\r\033[K");
    _isShown = false;
}

} // namespace lanternfly
