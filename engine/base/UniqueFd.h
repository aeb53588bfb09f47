// An open file descriptor with one owner.
// Threads: value.
#pragma once

#include <utility>

#include <unistd.h>

namespace lanternfly {

class UniqueFd {
public:
    UniqueFd() = default;
    explicit UniqueFd(int descriptor) : _descriptor(descriptor) {}
    UniqueFd(UniqueFd&& other) noexcept : _descriptor(std::exchange(other._descriptor, -1)) {}
    UniqueFd& operator=(UniqueFd&& other) noexcept {
        if (this != &other) reset(std::exchange(other._descriptor, -1));
        return *this;
    }
    ~UniqueFd() { reset(); }

    // -1 when there is none.
    int get() const { return _descriptor; }
    explicit operator bool() const { return _descriptor >= 0; }
    int release() { return std::exchange(_descriptor, -1); }
    void reset(int descriptor = -1) {
        if (_descriptor >= 0) ::close(_descriptor);
        _descriptor = descriptor;
    }

private:
    int _descriptor = -1;
};

} // namespace lanternfly
