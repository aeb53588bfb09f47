// Stands in for the user of a presentation that is rendered from files: runs what belongs to its
// thread, and the commands of a script when their time has come.
// Threads: bound to the thread that looks at frames.
#pragma once

#include <string>
#include <vector>

#include "app/Presentation.h"
#include "app/TaskInbox.h"
#include "app/commands/CommandScript.h"

namespace lanternfly {

class ScriptPlayer {
public:
    // `awaited`: a page that was asked for is there in the same frame, however long it takes.
    enum class Pages { awaited, free };

    ScriptPlayer(Presentation& presentation, TaskInbox& inbox, std::vector<TimedCommand> script,
                 Pages pages)
        : _presentation(presentation), _inbox(inbox), _script(std::move(script)), _pages(pages) {}

    // Before the frame of that time is looked at.
    void advance(double seconds);
    // What went wrong, in order, and what the frames were too few for.
    std::vector<std::string> notes() const;

private:
    Presentation& _presentation;
    TaskInbox& _inbox;
    const std::vector<TimedCommand> _script;
    const Pages _pages;
    size_t _next = 0;
    Presentation::Problem _toldPageProblem;
    std::vector<std::string> _notes;
};

} // namespace lanternfly
