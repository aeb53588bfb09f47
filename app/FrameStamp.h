// Which camera frame something belongs to.
// Threads: value.
#pragma once

#include <cstdint>

#include "base/MediaTime.h"

namespace lanternfly {

struct FrameStamp {
    int64_t index = 0;
    MediaTime pts;
};

} // namespace lanternfly
