#include "app/ScriptPlayer.h"

#include <fmt/format.h>

namespace lanternfly {

void ScriptPlayer::advance(double seconds) {
    constexpr double sameMoment = 1e-6; // times of frames are fractions
    _inbox.run();
    for (; _next < _script.size() && _script[_next].seconds <= seconds + sameMoment; ++_next)
        if (const auto problem = _presentation.apply(_script[_next].command))
            _notes.push_back(fmt::format("script line {}: {}", _script[_next].line, *problem));
    if (_pages == Pages::awaited) _inbox.runUntil([this] { return !_presentation.isPageComing(); });
    const auto& problem = _presentation.pageProblem();
    if (problem && problem != _toldPageProblem) _notes.push_back(*problem);
    _toldPageProblem = problem;
}

std::vector<std::string> ScriptPlayer::notes() const {
    auto notes = _notes;
    if (const size_t left = _script.size() - _next; left > 0)
        notes.push_back(fmt::format("{} of {} commands come after the last frame, the first in "
                                    "line {} of the script",
                                    left, _script.size(), _script[_next].line));
    return notes;
}

} // namespace lanternfly
