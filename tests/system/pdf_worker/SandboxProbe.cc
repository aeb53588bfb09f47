// SPDX-License-Identifier: GPL-2.0-or-later
// Enters the helper's sandbox and then tries one thing that it must not be able to do. Prints the
// protections that hold; exits with 0 when the thing was refused, with 1 when it worked.
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include "Sandbox.h"

namespace {

bool works(std::string_view deed, const char* file) {
    if (deed == "socket") return socket(AF_INET, SOCK_STREAM, 0) >= 0;
    if (deed == "fork") return fork() >= 0;
    if (deed == "exec") {
        char* const arguments[] = {const_cast<char*>("/bin/true"), nullptr};
        return execve("/bin/true", arguments, arguments + 1) == 0;
    }
    if (deed == "trace") return ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0;
    if (deed == "signal-parent") return kill(getppid(), 0) == 0;
    if (deed == "write-file") return open(file, O_WRONLY) >= 0;
    if (deed == "create-file") return open("/tmp/lanternfly-probe", O_RDONLY | O_CREAT, 0600) >= 0;
    if (deed == "remove-file") return unlink(file) == 0;
    if (deed == "read-file") return open(file, O_RDONLY) >= 0;
    if (deed == "list-root") return open("/", O_RDONLY | O_DIRECTORY) >= 0;
    if (deed == "make-code")
        return mmap(nullptr, 4096, PROT_READ | PROT_WRITE | PROT_EXEC, MAP_PRIVATE | MAP_ANONYMOUS,
                    -1, 0) != MAP_FAILED;
    if (deed == "take-memory")
        return mmap(nullptr, size_t{2} << 30, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS,
                    -1, 0) != MAP_FAILED;
    if (deed == "raise-limit") {
        const rlimit more{RLIM_INFINITY, RLIM_INFINITY};
        return setrlimit(RLIMIT_AS, &more) == 0;
    }
    if (deed == "read-font-folder") return open("/usr/share/fonts", O_RDONLY | O_DIRECTORY) >= 0;
    return true;
}

} // namespace

int main(int argumentCount, char** arguments) {
    if (argumentCount != 3) return 2;
    const uint32_t protections = lanternfly::enterSandbox();
    std::printf("%u\n", protections);
    std::fflush(stdout);
    _exit(works(arguments[1], arguments[2]) ? 1 : 0);
}
