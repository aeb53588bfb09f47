// A folder of its own for one test, removed with all that is in it.
// Threads: value.
#pragma once

#include <filesystem>
#include <fstream>
#include <stdlib.h>
#include <string>

namespace lanternfly::test {

class TemporaryFolder {
public:
    TemporaryFolder() {
        std::string name = (std::filesystem::temp_directory_path() / "lanternfly-XXXXXX").string();
        if (!mkdtemp(name.data())) std::abort();
        _path = name;
    }
    ~TemporaryFolder() {
        std::error_code ignored;
        // A test may have taken the permission to change it away.
        std::filesystem::permissions(_path, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(_path, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return _path; }
    std::filesystem::path operator/(const std::string& name) const { return _path / name; }
    // A file of the folder with these bytes.
    std::filesystem::path write(const std::string& name, const std::string& bytes) const {
        const auto file = _path / name;
        std::ofstream(file, std::ios::binary) << bytes;
        return file;
    }

private:
    std::filesystem::path _path;
};

} // namespace lanternfly::test
