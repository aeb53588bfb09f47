// open() and close() of this program, one at a time: umockdev keeps the nodes that are open in a
// table without a lock, and cameras are opened on more than one thread.
#include <cstdarg>
#include <mutex>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/types.h>

namespace {

std::recursive_mutex& oneAtATime() {
    static auto* const mutex = new std::recursive_mutex; // outlives the last close
    return *mutex;
}

} // namespace

extern "C" {

int open(const char* path, int flags, ...) {
    static const auto next =
        reinterpret_cast<int (*)(const char*, int, mode_t)>(::dlsym(RTLD_NEXT, "open"));
    mode_t mode = 0;
    if ((flags & O_CREAT) != 0 || (flags & O_TMPFILE) == O_TMPFILE) {
        va_list arguments;
        va_start(arguments, flags);
        mode = va_arg(arguments, mode_t);
        va_end(arguments);
    }
    const std::lock_guard guard(oneAtATime());
    return next(path, flags, mode);
}

int close(int descriptor) {
    static const auto next = reinterpret_cast<int (*)(int)>(::dlsym(RTLD_NEXT, "close"));
    const std::lock_guard guard(oneAtATime());
    return next(descriptor);
}

} // extern "C"
