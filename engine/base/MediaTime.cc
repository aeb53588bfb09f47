#include "base/MediaTime.h"

namespace lanternfly {

MediaTime MediaTime::fromNanos(int64_t nanos) {
    return make(nanos, 1'000'000'000);
}

double MediaTime::seconds() const {
    return isValid() ? static_cast<double>(value) / static_cast<double>(timescale) : 0.0;
}

} // namespace lanternfly
