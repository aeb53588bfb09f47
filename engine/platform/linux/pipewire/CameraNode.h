// A camera node of PipeWire, as the node describes itself, and what that makes it.
// Threads: value.
#pragma once

#include <map>
#include <set>
#include <string>
#include <vector>

#include <spa/pod/pod.h>

#include "platform/linux/camera/StreamingCamera.h"
#include "platform/linux/pipewire/VideoFormats.h"

namespace lanternfly::pipewire {

using Properties = std::map<std::string, std::string>;

struct CameraNode {
    uint32_t id = 0; // as long as the node is there
    std::string uniqueID;
    Properties properties;
    std::vector<VideoFormat> formats; // as CameraDescription lists them
};

// A camera by its class and role. Screens and windows that are shared are none.
bool isCamera(const Properties& properties);
// The video node of the kernel behind it; empty when there is none.
std::string videoNodeOf(const Properties& properties);

// Stays the node's over restarts: nodes are told apart by name, and equal names by a number.
std::string idOf(const Properties& properties, const std::set<std::string>& taken);

// The formats that a parameter object offers, as far as they can be decoded: of choices each, of
// ranges of sizes the usual ones.
std::vector<VideoFormat> formatsOf(const spa_pod& parameter);
// Without doubles, the best liked pixel format first, then in the node's order.
std::vector<VideoFormat> sortedFormats(std::vector<VideoFormat> formats);

CameraDescription descriptionOf(const CameraNode& node);

} // namespace lanternfly::pipewire
