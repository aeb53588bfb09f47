#include "app/Interrupt.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdint>

#include <sys/eventfd.h>
#include <unistd.h>

namespace lanternfly::Interrupt {
namespace {

std::atomic<int> caught{0};
std::atomic<int> wake{-1};
static_assert(std::atomic<int>::is_always_lock_free, "stored by a signal handler");

extern "C" void catchSignal(int number) {
    const int savedError = errno;
    caught.store(number);
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(wake.load(), &one, sizeof one);
    errno = savedError;
}

} // namespace

void install() {
    if (wake.load() < 0) wake.store(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    struct sigaction action {};
    action.sa_handler = catchSignal;
    action.sa_flags = static_cast<int>(SA_RESETHAND | SA_RESTART);
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

int requested() {
    return caught.load();
}

int descriptor() {
    return wake.load();
}

} // namespace lanternfly::Interrupt
