// What the program and its own virtual camera agree on. Frames of that camera are never captured.
#pragma once

#include <cstdint>

#include "base/Identity.h"

namespace lanternfly::FrameChannel {

inline constexpr const char* deviceLocalizedName = identity::virtualCameraName;
inline constexpr const char* deviceManufacturer = identity::manufacturer;
inline constexpr const char* deviceModel = identity::virtualCameraModel;
// The four-character code "BGRA".
inline constexpr uint32_t pixelFormat = 0x42475241;
inline constexpr int frameWidth = 1920;
inline constexpr int frameHeight = 1080;
inline constexpr int32_t frameRate = 30;
inline constexpr const char* sourceStreamTag = "org.lanternfly.Lanternfly.Video";
inline constexpr const char* sinkStreamTag = "org.lanternfly.Lanternfly.VideoSink";

} // namespace lanternfly::FrameChannel
