// Which camera is used, and in which format: decisions about devices, without touching any.
// Threads: value.
#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "base/Logger.h"
#include "platform/CameraDevice.h"

namespace lanternfly {

// All that are ever looked for, best first.
inline constexpr std::array cameraTypesByPriority{CameraDeviceType::builtInWideAngleCamera,
                                                  CameraDeviceType::external,
                                                  CameraDeviceType::continuityCamera};

// Without the program's own virtual camera: its output would become its input.
std::vector<CameraDeviceRef> withoutOwnCamera(std::vector<CameraDeviceRef> devices,
                                              const Logger& log);

// By type, then by name.
void sortForDisplay(std::vector<CameraDeviceRef>& devices);

// The pinned camera when it is there; else the first real one by priority of its type; else the
// first of the list. Null when the list is empty.
CameraDeviceRef pickCamera(const std::vector<CameraDeviceRef>& devices,
                           const std::optional<std::string>& preferredUID, const Logger& log);

// The largest format up to CameraFeed's preferred size in which the system cannot draw its reaction
// effects; among equals one with 30 frames per second, then the earlier one. Nothing when all
// support reactions.
std::optional<size_t> chooseFormat(const std::vector<CameraFormat>& formats);

// 1/30 s where the format has that, else the time of its fastest rate in whole frames per second;
// nothing for a format without ranges.
std::optional<MediaTime> chooseFrameDuration(const CameraFormat& format);

// Old plug-in drivers refuse to have their frame rate set.
bool acceptsFrameDurations(const CameraDevice& device);

} // namespace lanternfly
