// Memory that this process shares with one that it does not trust. It is made here at its full size
// and sealed against shrinking before anybody else sees it, so that reading it can never fault.
// Threads: value.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "base/UniqueFd.h"

namespace lanternfly {

class SharedPixels {
public:
    // Nothing when memory is short or the system cannot seal.
    static std::optional<SharedPixels> create(size_t sizeBytes);
    SharedPixels(SharedPixels&& other) noexcept;
    SharedPixels& operator=(SharedPixels&& other) noexcept;
    ~SharedPixels();

    int descriptor() const { return _descriptor.get(); }
    size_t sizeBytes() const { return _sizeBytes; }
    // The other process may still be writing: what is read is pixels and nothing else.
    const uint8_t* data() const { return _bytes; }

private:
    SharedPixels() = default;

    UniqueFd _descriptor;
    uint8_t* _bytes = nullptr;
    size_t _sizeBytes = 0;
};

} // namespace lanternfly
