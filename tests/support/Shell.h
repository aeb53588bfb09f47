// Runs a command as a user would and keeps what it said.
// Threads: safe.
#pragma once

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <sys/wait.h>

namespace lanternfly::test {

struct ShellResult {
    int exitCode;       // 128 + the signal's number when one ended the command
    std::string output; // standard output and standard error, together
};

inline ShellResult shell(const std::string& command) {
    std::FILE* pipe = popen((command + " 2>&1").c_str(), "r");
    if (!pipe) return {-1, "popen failed"};
    ShellResult result{};
    std::array<char, 4096> piece;
    while (const size_t length = std::fread(piece.data(), 1, piece.size(), pipe))
        result.output.append(piece.data(), length);
    const int status = pclose(pipe);
    result.exitCode = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    return result;
}

inline std::string quoted(const std::filesystem::path& path) {
    return "'" + path.string() + "'";
}

inline std::string contents(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream all;
    all << stream.rdbuf();
    return all.str();
}

inline void setContents(const std::filesystem::path& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary) << bytes;
}

} // namespace lanternfly::test
