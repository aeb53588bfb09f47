#include "app/live/PresentSettings.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/VersionedObject.h"
#include "base/FileBytes.h"
#include "base/UserFolders.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr size_t maxFileBytes = 1u << 16;
constexpr std::array looks{std::pair{WindowLook::system, std::string_view("system")},
                           std::pair{WindowLook::light, std::string_view("light")},
                           std::pair{WindowLook::dark, std::string_view("dark")}};

bool areTexts(const Json& list) {
    return list.is_array() &&
           std::all_of(list.begin(), list.end(), [](const Json& each) { return each.is_string(); });
}

// Takes the field when it is as it should be, and says so when it is not.
template <typename Take>
void read(const Json& file, const char* field, const char* expected,
          std::vector<std::string>& problems, Take take) {
    const auto found = file.find(field);
    if (found == file.end() || take(*found)) return;
    problems.push_back(fmt::format("\"{}\" must be {}; it is left aside", field, expected));
}

} // namespace

std::string_view nameOf(WindowLook look) {
    return looks[static_cast<size_t>(look)].second;
}

ReadSettings parseSettings(std::string_view json) {
    const auto refused = [](std::string why) {
        return ReadSettings{{}, {why + "; correct it, or move it away"}};
    };
    Json file;
    try {
        file = parseVersionedObject(json, PresentSettings::version);
    } catch (const std::exception& error) {
        return refused(error.what());
    }
    ReadSettings result;
    PresentSettings& settings = result.settings;
    read(file, "camera", "a text, such as \"demo\"", result.problems, [&](const Json& value) {
        if (!value.is_string()) return false;
        settings.camera = value.get<std::string>();
        return true;
    });
    read(file, "output", "a list of texts, such as [\"pipewire\"]", result.problems,
         [&](const Json& value) {
             if (!areTexts(value)) return false;
             settings.outputs = value.get<std::vector<std::string>>();
             return true;
         });
    read(file, "mirror", "true or false", result.problems, [&](const Json& value) {
        if (!value.is_boolean()) return false;
        settings.isMirrored = value.get<bool>();
        return true;
    });
    read(file, "look", "\"system\", \"light\" or \"dark\"", result.problems,
         [&](const Json& value) {
             const auto found = std::find_if(looks.begin(), looks.end(), [&](const auto& look) {
                 return value.is_string() && value.get_ref<const std::string&>() == look.second;
             });
             if (found == looks.end()) return false;
             settings.look = found->first;
             return true;
         });
    return result;
}

std::string jsonOf(const PresentSettings& settings) {
    const nlohmann::ordered_json file{{"version", PresentSettings::version},
                                      {"camera", settings.camera},
                                      {"output", settings.outputs},
                                      {"mirror", settings.isMirrored},
                                      {"look", nameOf(settings.look)}};
    return file.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::optional<fs::path> presentSettingsFile() {
    const auto folder = userConfigFolder();
    if (!folder) return std::nullopt;
    return *folder / "lanternfly" / "present.json";
}

ReadSettings loadSettings() {
    const auto file = presentSettingsFile();
    if (!file) return {};
    std::string json;
    const auto failure = readFile(*file, maxFileBytes, json);
    if (failure == std::errc::no_such_file_or_directory || failure == std::errc::not_a_directory)
        return {};
    ReadSettings result = failure ? ReadSettings{{}, {failure.message() + "; it is left aside"}}
                                  : parseSettings(json);
    for (std::string& problem : result.problems)
        problem = fmt::format("{}: {}", file->string(), problem);
    return result;
}

void saveSettings(const PresentSettings& settings) {
    const auto file = presentSettingsFile();
    if (!file) throw CommandError("there is no home to save the settings in; set HOME");
    std::error_code failure;
    fs::create_directories(file->parent_path(), failure);
    if (const auto error = writeFileAtomically(*file, jsonOf(settings)))
        throw CommandError(fmt::format("cannot write {}: {}; make its folder writable",
                                       file->string(), error.message()));
}

} // namespace lanternfly
