#include "app/Interrupt.h"

#include <atomic>
#include <csignal>

namespace lanternfly::Interrupt {
namespace {

std::atomic<int> caught{0};
static_assert(std::atomic<int>::is_always_lock_free, "stored by a signal handler");

extern "C" void catchSignal(int number) {
    caught.store(number);
}

} // namespace

void install() {
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

} // namespace lanternfly::Interrupt
