// A random 128-bit identity (RFC 4122, version 4).
// Threads: value.
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace lanternfly {

struct Uuid {
    std::array<uint8_t, 16> bytes{};

    static Uuid random();
    // Lower-case, in the usual groups: "8c2f0c1e-…".
    std::string text() const;

    friend bool operator==(const Uuid&, const Uuid&) = default;
};

} // namespace lanternfly
