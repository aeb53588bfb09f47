// What a presentation can be asked for, wherever its frames come from.
// Threads: value.
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "app/Framing.h"

namespace lanternfly {

struct ShowOptions {
    using File = std::optional<std::filesystem::path>;

    std::filesystem::path deck;
    int page = 1;
    int width = 1920, height = 1080;
    bool isMirrored = false;
    FramingMode framing = FramingMode::crop;
    File script;
    File bindings;
    File handModel;
    std::string device = "cpu"; // as chooseDevice() takes it
    bool looksForFaces = false;

    // To write.
    File events;
    File recordedPoses;
    File trace;
};

} // namespace lanternfly
