#include "app/commands/BindingsFile.h"

#include <fmt/format.h>

#include "app/CommandError.h"
#include "base/FileBytes.h"
#include "base/UserFolders.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

ReadBindings parsedFile(const fs::path& file, std::string_view json) {
    auto read = parseBindings(json);
    for (std::string& problem : read.problems)
        problem = fmt::format("{}: {}", file.string(), problem);
    return read;
}

} // namespace

std::optional<fs::path> userBindingsFile() {
    const auto folder = userConfigFolder();
    if (!folder) return std::nullopt;
    return *folder / "lanternfly" / "bindings.json";
}

ReadBindings loadBindings(const std::optional<fs::path>& given) {
    const auto file = given ? given : userBindingsFile();
    if (!file) return {Bindings::defaults(), {}};
    std::string json;
    const auto failure = readFile(*file, Bindings::maxFileBytes, json);
    if (!failure) return parsedFile(*file, json);
    const auto why = fmt::format("{}: {}", file->string(), failure.message());
    if (given) throw CommandError(why + "; name another file with --bindings, or leave it out");
    if (failure == std::errc::no_such_file_or_directory || failure == std::errc::not_a_directory)
        return {Bindings::defaults(), {}};
    return {Bindings::defaults(), {why + "; the built-in bindings are used"}};
}

void writeDefaultBindings(const fs::path& file) {
    std::error_code failure;
    if (fs::exists(fs::symlink_status(file, failure)))
        throw CommandError(
            fmt::format("{} exists already; edit it, or move it away first", file.string()));
    if (file.has_parent_path()) fs::create_directories(file.parent_path(), failure);
    if (const auto error = writeFileAtomically(file, jsonOf(Bindings::defaults())))
        throw CommandError(fmt::format("cannot write {}: {}; choose another place with --bindings",
                                       file.string(), error.message()));
}

} // namespace lanternfly
