// Sessions on disk: one manifest a file, named by session id.
// Threads: safe.
#pragma once

#include <exception>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "document/Manifest.h"

namespace lanternfly {

class StoreError : public std::exception {
public:
    enum class Kind { directoryCreateFailed, writeFailed, readFailed, encodeFailed, decodeFailed };
    StoreError(Kind which, std::filesystem::path where, std::string why);

    const char* what() const noexcept override { return _text.c_str(); }

    const Kind kind;
    const std::filesystem::path path; // empty for encodeFailed
    const std::string underlying;

private:
    std::string _text;
};

namespace KIVASessionStore {

inline constexpr const char* fileExtension = "kiva";

// "Lanternfly/sessions" in the user's data folder, made when it does not exist.
std::filesystem::path sessionsDirectory();
// An id that is no plain file name (empty, ".", "..", with a slash or a zero) is a writeFailed: a
// session never leaves the folder.
std::filesystem::path defaultURL(std::string_view forSessionID);
// Atomically: the file is the old one or the new one.
void write(const Manifest& manifest, const std::filesystem::path& to);
Manifest read(const std::filesystem::path& from);
// In ascending order.
std::vector<std::string> listSessionIDs();
// A session that does not exist is no error.
void remove(std::string_view sessionID);

} // namespace KIVASessionStore

// "lfy_session_" and 32 hexadecimal digits, different every time.
std::string newSessionID();

} // namespace lanternfly
