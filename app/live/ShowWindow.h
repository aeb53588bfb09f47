// Where a live show is watched and commanded from. The program's user interface makes one; the show
// does without as well.
// Threads: bound to the main thread.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "app/EventLoop.h"
#include "platform/FrameSink.h"

namespace lanternfly {

class LiveShow;

class ShowWindow {
public:
    virtual ~ShowWindow() = default;

    // What shows the frames; asked for once. It may outlive the window.
    virtual std::unique_ptr<FrameSink> makeSink() = 0;
    // From now on until run() returns the window commands this show.
    virtual void attach(LiveShow& show) = 0;
    // A sentence for the user.
    virtual void note(const std::string& text) = 0;
    // The show's status is another one.
    virtual void refresh() = 0;
    // Opens the window, and runs the loop inside its own until the window is closed or the loop
    // quits.
    virtual void run(EventLoop& loop) = 0;
};

enum class WindowLook { system, light, dark };

// Throws CommandError when there is no display.
using MakeShowWindow = std::function<std::unique_ptr<ShowWindow>(WindowLook look)>;

} // namespace lanternfly
