// Port: the user's own defaults, one blob of bytes a key.
// Threads: safe.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lanternfly {

class DefaultsStore {
public:
    virtual ~DefaultsStore() = default;
    // Absent when nothing is stored under the key or it cannot be read.
    virtual std::optional<std::string> data(std::string_view key) const = 0;
    // Stores durably and whole, or leaves what was there. Returns whether it is stored.
    virtual bool set(std::string_view key, std::string_view bytes) = 0;
    virtual void remove(std::string_view key) = 0;
};

} // namespace lanternfly
