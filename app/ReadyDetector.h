// The hand detector, loaded and run once, so that missing networks are an error before any work
// begins and not a video without hands.
// Threads: safe.
#pragma once

#include <filesystem>
#include <memory>

#include "platform/HandPoseDetector.h"
#include "platform/linux/vision/HandModelFolder.h"

namespace lanternfly {

// Throws HandPoseError.
std::unique_ptr<HandPoseDetector>
readyDetector(const std::filesystem::path& handModel = defaultHandModelFolder());

} // namespace lanternfly
