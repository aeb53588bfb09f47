// Small files whole: read within a bound, replaced atomically.
// Threads: safe.
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <system_error>

namespace lanternfly {

// Reads a regular file (nothing else: a pipe would wait for ever). file_too_large when it holds
// more than `maxBytes`; `bytes` is then unspecified.
std::error_code readFile(const std::filesystem::path& path, size_t maxBytes, std::string& bytes);

// Puts `bytes` in the place of the file, durably: readers, other writers and a power cut find the
// old file or the new one, never a part. The file is readable by this user alone.
std::error_code writeFileAtomically(const std::filesystem::path& path, std::string_view bytes);

} // namespace lanternfly
