// The modes of a camera (pixel format, size, rates): asked of the driver, and as the port's
// formats.
// Threads: value.
#pragma once

#include <vector>

#include "platform/CameraDevice.h"
#include "platform/linux/v4l2/V4l2Device.h"

namespace lanternfly::v4l2 {

struct CameraMode {
    uint32_t fourcc = 0;
    int width = 0, height = 0; // px
    std::vector<CameraRateRange> rates;

    friend bool operator==(const CameraMode&, const CameraMode&) = default;
};

// The sizes of a driver that takes any between two, in steps.
struct SizeRange {
    int minWidth = 1, maxWidth = 1, stepWidth = 1;
    int minHeight = 1, maxHeight = 1, stepHeight = 1;
};

// The usual camera sizes that the range holds, and its largest; at most 16 of them.
struct Size {
    int width, height;
    friend bool operator==(const Size&, const Size&) = default;
};
std::vector<Size> sizesIn(const SizeRange& range);

// Only modes that can be decoded, the best liked pixel format first, then in the driver's order.
std::vector<CameraMode> sortedModes(std::vector<CameraMode> modes);
CameraFormat formatOf(const CameraMode& mode);

// All modes of an open camera, sorted. A driver that lists no sizes has the one that is set; lists
// that do not end are cut off.
std::vector<CameraMode> modesOf(const V4l2Device& device);

} // namespace lanternfly::v4l2
