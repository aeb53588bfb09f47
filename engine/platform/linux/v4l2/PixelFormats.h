// V4L2's pixel formats and colours in our terms.
// Threads: value.
#pragma once

#include <optional>
#include <string>

#include <linux/videodev2.h>

#include "platform/CameraDevice.h"
#include "platform/linux/camera/FrameDecoder.h"

namespace lanternfly::v4l2 {

// "MJPG"; bytes that cannot be shown become '?'.
std::string fourccText(uint32_t fourcc);
// Nothing for formats that are not decoded, such as infrared grey, raw sensor data and H.264.
std::optional<FrameEncoding> encodingOf(uint32_t fourcc);
// How much a format is liked among those of one size and rate, 0 for the most: those that cost
// little to decode and lose little come first.
int rankOf(uint32_t fourcc);
FrameColour colourOf(const v4l2_pix_format& format);

// Frames per second of a time between frames; 0 for one that is none. Within a hundredth of a
// whole number it is that number: drivers write 1/30 s as 333333 of 10 million.
double rateOf(const v4l2_fract& interval);
// The time between frames that a driver is asked for; nothing when there is none.
std::optional<v4l2_fract> intervalOf(MediaTime frameDuration);

} // namespace lanternfly::v4l2
