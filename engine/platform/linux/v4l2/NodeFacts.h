// What is known of a video node, and what that makes it: which camera, of which sort, attached how.
// Threads: value.
#pragma once

#include <set>
#include <string>

#include "platform/CameraDevice.h"

namespace lanternfly::v4l2 {

struct NodeFacts {
    std::string syspath; // "/sys/devices/…/video4linux/video0"
    std::string node;    // "/dev/video0"
    // Names of the links below /dev/v4l/by-id and /dev/v4l/by-path; empty when there is none.
    std::string byId, byPath;
    std::string driver, card, busInfo; // as the driver says; empty when it may not be asked
    bool hasUsbParent = false;
    bool hasPciParent = false;
    std::string removable; // of the USB parent: "fixed", "removable", "unknown"
    std::string manufacturer, product, sysfsName; // empty when not known
};

// A camera that software makes up: its node has no hardware behind it, or its driver only hands on
// what other programs write.
bool isVirtual(const NodeFacts& facts);
CameraDeviceType typeOf(const NodeFacts& facts);
uint32_t transportTypeOf(const NodeFacts& facts);
// For people: without control characters, and without the doubling ("Cam: Cam") of USB cameras.
std::string nameOf(const NodeFacts& facts);
// Maker and model. Our own virtual camera is known by the name that it was given.
std::string manufacturerOf(const NodeFacts& facts);
std::string modelOf(const NodeFacts& facts);

// An identifier that stays the camera's over replugging and restarts. Two cameras of one model
// without serial numbers share their link by id; the later one is told apart by its port.
std::string idOf(const NodeFacts& facts, const std::set<std::string>& taken);

} // namespace lanternfly::v4l2
