// The user's defaults as files: one a key, in a folder of their own.
// Threads: safe, and so are several processes at a time.
#pragma once

#include <filesystem>

#include "platform/DefaultsStore.h"

namespace lanternfly {

class FileDefaultsStore final : public DefaultsStore {
public:
    // The folder is made on the first write; host programs give it as
    // userConfigFolder() / "lanternfly".
    explicit FileDefaultsStore(std::filesystem::path folder) : _folder(std::move(folder)) {}

    std::optional<std::string> data(std::string_view key) const override;
    bool set(std::string_view key, std::string_view bytes) override;
    void remove(std::string_view key) override;

private:
    std::filesystem::path file(std::string_view key) const;

    const std::filesystem::path _folder;
};

} // namespace lanternfly
