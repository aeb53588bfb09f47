#include "support/PrivatePipeWire.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <filesystem>

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

#include "base/UniqueFd.h"
#include "support/Shell.h"

namespace lanternfly::test {
namespace {

namespace fs = std::filesystem;

// The session manager links streams, and leaves devices and the message bus alone.
constexpr const char* mainSettings = R"(alsa_monitor.enabled = false
v4l2_monitor.enabled = false
libcamera_monitor.enabled = false
default_access.properties["enable-flatpak-portal"] = false
)";
constexpr const char* bluetoothSettings = R"(bluez_monitor.enabled = false
bluez_monitor.properties["with-logind"] = false
)";

bool canConnect(const fs::path& socketFile) {
    const UniqueFd socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    std::strncpy(address.sun_path, socketFile.c_str(), sizeof address.sun_path - 1);
    return ::connect(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
           0;
}

} // namespace

std::string PrivatePipeWire::missing() {
    for (const char* program : {"pipewire", "wireplumber"})
        if (shell(std::string("command -v ") + program).exitCode != 0)
            return std::string(program) + " is not installed (make deps)";
    return {};
}

PrivatePipeWire::PrivatePipeWire() {
    const fs::path settings = _folder / "config" / "wireplumber";
    fs::create_directories(settings / "main.lua.d");
    fs::create_directories(settings / "bluetooth.lua.d");
    fs::create_directory(_folder / "run");
    setContents(settings / "main.lua.d" / "51-private.lua", mainSettings);
    setContents(settings / "bluetooth.lua.d" / "51-private.lua", bluetoothSettings);
    _variables.emplace_back("XDG_RUNTIME_DIR", (_folder / "run").string());
    _variables.emplace_back("XDG_CONFIG_HOME", (_folder / "config").string());
    _variables.emplace_back("XDG_STATE_HOME", (_folder / "state").string());
    _variables.emplace_back("XDG_CACHE_HOME", (_folder / "cache").string());
    _variables.emplace_back("DBUS_SESSION_BUS_ADDRESS", "unix:path=" + (_folder / "none").string());
    _variables.emplace_back("PIPEWIRE_RUNTIME_DIR", std::nullopt);
    _variables.emplace_back("PIPEWIRE_REMOTE", std::nullopt);
}

PrivatePipeWire::~PrivatePipeWire() {
    kill();
    while (!_variables.empty())
        _variables.pop_back();
}

void PrivatePipeWire::run(const char* program) {
    const std::string output = (_folder / "log").string();
    const pid_t test = ::getpid();
    const pid_t pid = ::fork();
    if (pid != 0) {
        if (pid > 0) _programs.push_back(pid);
        return;
    }
    // Also when the test crashes.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    if (::getppid() != test) ::_exit(127);
    const int to = ::open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644);
    ::dup2(to, STDOUT_FILENO);
    ::dup2(to, STDERR_FILENO);
    // What watches the test's memory, or plays devices to it, is not for these programs.
    ::unsetenv("LD_PRELOAD");
    ::execlp(program, program, nullptr);
    ::_exit(127);
}

bool PrivatePipeWire::start() {
    constexpr int patienceMs = 60'000;
    const fs::path socketFile = _folder / "run" / "pipewire-0";
    const UniqueFd watch(::inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    ::inotify_add_watch(watch.get(), (_folder / "run").c_str(), IN_CREATE | IN_ATTRIB);
    run("pipewire");
    while (!fs::exists(socketFile)) {
        pollfd changed{watch.get(), POLLIN, 0};
        if (::poll(&changed, 1, patienceMs) <= 0) return false;
        char events[4096];
        while (::read(watch.get(), events, sizeof events) > 0) {
        }
    }
    // The socket is there an instant before it is listened to.
    for (int i = 0; !canConnect(socketFile); ++i) {
        if (i == patienceMs) return false;
        ::poll(nullptr, 0, 1);
    }
    run("wireplumber");
    return true;
}

void PrivatePipeWire::kill() {
    // The session manager first: it would say that PipeWire left it.
    for (; !_programs.empty(); _programs.pop_back()) {
        ::kill(_programs.back(), SIGKILL);
        ::waitpid(_programs.back(), nullptr, 0);
    }
    std::error_code ignored;
    fs::remove(_folder / "run" / "pipewire-0", ignored);
    fs::remove(_folder / "run" / "pipewire-0.lock", ignored);
}

std::string PrivatePipeWire::log() const {
    return contents(_folder / "log");
}

} // namespace lanternfly::test
