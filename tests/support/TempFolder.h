// A folder that lives as long as the test.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>

namespace lanternfly::test {

class TempFolder {
public:
    TempFolder() {
        auto pattern = (std::filesystem::temp_directory_path() / "lanternfly-XXXXXX").string();
        if (!mkdtemp(pattern.data())) throw std::runtime_error("no temporary folder");
        _path = pattern;
    }
    ~TempFolder() {
        std::error_code ignored;
        std::filesystem::permissions(_path, std::filesystem::perms::owner_all, ignored);
        std::filesystem::remove_all(_path, ignored);
    }
    TempFolder(const TempFolder&) = delete;
    TempFolder& operator=(const TempFolder&) = delete;

    const std::filesystem::path& path() const { return _path; }

private:
    std::filesystem::path _path;
};

inline void writeFile(const std::filesystem::path& path, std::string_view bytes) {
    std::ofstream file(path, std::ios::binary | std::ios::trunc);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    if (!file.flush()) throw std::runtime_error("cannot write " + path.string());
}

inline std::string readFile(const std::filesystem::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw std::runtime_error("cannot read " + path.string());
    std::ostringstream bytes;
    bytes << file.rdbuf();
    return std::move(bytes).str();
}

} // namespace lanternfly::test
