// Defaults that last as long as the object.
// Threads: safe.
#pragma once

#include <functional>
#include <map>

#include "base/LockedCell.h"
#include "platform/DefaultsStore.h"

namespace lanternfly {

class MemoryDefaultsStore final : public DefaultsStore {
public:
    std::optional<std::string> data(std::string_view key) const override {
        return _blobs.withLock([&](const Blobs& blobs) -> std::optional<std::string> {
            const auto found = blobs.find(key);
            if (found == blobs.end()) return std::nullopt;
            return found->second;
        });
    }
    bool set(std::string_view key, std::string_view bytes) override {
        if (bytes.size() > maxBlobBytes) return false;
        return _blobs.withLock([&](Blobs& blobs) {
            if (_isReadOnly) return false;
            blobs.insert_or_assign(std::string(key), std::string(bytes));
            return true;
        });
    }
    void remove(std::string_view key) override {
        _blobs.withLock([&](Blobs& blobs) {
            if (!_isReadOnly) blobs.erase(std::string(key));
        });
    }

    // From now on nothing can be written, as on a full disk.
    void makeReadOnly() {
        _blobs.withLock([&](Blobs&) { _isReadOnly = true; });
    }

private:
    using Blobs = std::map<std::string, std::string, std::less<>>;

    LockedCell<Blobs> _blobs;
    bool _isReadOnly = false; // under the lock of _blobs
};

} // namespace lanternfly
