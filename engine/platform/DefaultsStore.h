// Port: the user's own defaults, one blob of bytes a key.
// Threads: safe.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

namespace lanternfly {

class DefaultsStore {
public:
    static constexpr size_t maxBlobBytes = 1u << 20;

    virtual ~DefaultsStore() = default;
    // Absent when nothing is stored under the key or it cannot be read. Any text may be a key.
    virtual std::optional<std::string> data(std::string_view key) const = 0;
    // Stores durably and whole, or leaves what was there: of two writers one wins. Returns whether
    // it is stored; a blob of more than maxBlobBytes never is.
    virtual bool set(std::string_view key, std::string_view bytes) = 0;
    virtual void remove(std::string_view key) = 0;
};

} // namespace lanternfly
