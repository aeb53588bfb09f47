// An X11 screen that nobody sees, as long as the object lives.
// Threads: bound.
#pragma once

#include <csignal>
#include <string>

#include <sys/wait.h>
#include <unistd.h>

namespace lanternfly::test {

class VirtualScreen {
public:
    // The server chooses a free display and says so when it is ready.
    VirtualScreen() {
        int ends[2];
        if (pipe(ends) != 0) return;
        _pid = fork();
        if (_pid == 0) {
            close(ends[0]);
            const std::string descriptor = std::to_string(ends[1]);
            execlp("Xvfb", "Xvfb", "-displayfd", descriptor.c_str(), "-screen", "0", "1280x800x24",
                   "-nolisten", "tcp", nullptr);
            _exit(127);
        }
        close(ends[1]);
        char piece;
        while (read(ends[0], &piece, 1) == 1 && piece != '\n')
            _display += piece;
        close(ends[0]);
    }
    ~VirtualScreen() {
        if (_pid <= 0) return;
        kill(_pid, SIGTERM);
        waitpid(_pid, nullptr, 0);
    }
    VirtualScreen(const VirtualScreen&) = delete;
    VirtualScreen& operator=(const VirtualScreen&) = delete;

    bool isThere() const { return !_display.empty(); }
    // As DISPLAY has it.
    std::string display() const { return ":" + _display; }

private:
    pid_t _pid = -1;
    std::string _display;
};

} // namespace lanternfly::test
