// What `lanternfly present` takes when it is not told otherwise, as a JSON file of the user's:
//   {"version": 1, "camera": "demo", "output": ["pipewire"], "mirror": true, "look": "dark"}
// Every field may be missing.
// Threads: safe.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "app/live/ShowWindow.h"

namespace lanternfly {

struct PresentSettings {
    static constexpr int version = 1;

    std::string camera{};
    std::vector<std::string> outputs{};
    bool isMirrored = false;
    WindowLook look = WindowLook::system;

    friend bool operator==(const PresentSettings&, const PresentSettings&) = default;
};

struct ReadSettings {
    PresentSettings settings;
    std::vector<std::string> problems; // what was left aside, and what to do, a line each
};
ReadSettings parseSettings(std::string_view json);
std::string jsonOf(const PresentSettings& settings);

// present.json beside the user's other settings. Absent when the user has no home.
std::optional<std::filesystem::path> presentSettingsFile();
// No file is no problem.
ReadSettings loadSettings();
// Throws CommandError.
void saveSettings(const PresentSettings& settings);

std::string_view nameOf(WindowLook look);

} // namespace lanternfly
