// A program that runs while the test does something to it.
// Threads: bound.
#pragma once

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <functional>
#include <poll.h>
#include <string>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace lanternfly::test {

class RunningProgram {
public:
    // Runs a shell command in `folder`; what it says goes to the file `output`. The shell replaces
    // itself by the program, so that signals reach it.
    RunningProgram(const std::string& command, const std::filesystem::path& folder,
                   const std::filesystem::path& output)
        : _watch(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
        inotify_add_watch(_watch, folder.c_str(), IN_CREATE | IN_MODIFY);
        _pid = fork();
        if (_pid != 0) return;
        const int to = open(output.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        dup2(to, STDOUT_FILENO);
        dup2(to, STDERR_FILENO);
        if (chdir(folder.c_str()) == 0)
            execl("/bin/sh", "sh", "-c", ("exec " + command).c_str(), nullptr);
        _exit(127);
    }
    ~RunningProgram() {
        if (_pid > 0) {
            ::kill(_pid, SIGKILL);
            wait();
        }
        close(_watch);
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;

    // Waits until files of the folder have changed so that the condition holds. False when the
    // folder stays still for too long.
    bool waitFor(const std::function<bool()>& condition) {
        constexpr int patienceMs = 120'000;
        while (!condition()) {
            pollfd changed{_watch, POLLIN, 0};
            if (poll(&changed, 1, patienceMs) <= 0) return false;
            char events[4096];
            while (read(_watch, events, sizeof events) > 0) {
            }
        }
        return true;
    }
    void kill(int signal) { ::kill(_pid, signal); }
    // From now on no file of the program may grow beyond this: as if the disk were full.
    void limitFileSize(uint64_t bytes) {
        const rlimit limit{bytes, bytes};
        prlimit(_pid, RLIMIT_FSIZE, &limit, nullptr);
    }
    // The exit code, 128 + the signal's number when one ended it.
    int wait() {
        int status = 0;
        waitpid(_pid, &status, 0);
        _pid = -1;
        return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }

private:
    int _watch;
    pid_t _pid = -1;
};

} // namespace lanternfly::test
