#include "platform/linux/video/FilePacing.h"

#include <algorithm>
#include <cmath>

namespace lanternfly {

uint64_t FilePacing::dueAt(MediaTime pts, uint64_t nowNanos) {
    const auto offset = static_cast<uint64_t>(std::llround(std::max(pts.seconds(), 0.0) * 1e9));
    if (!_roundStart) _roundStart = nowNanos - std::min(offset, nowNanos);
    uint64_t due = *_roundStart + offset;
    if (due + maxLateNanos < nowNanos) {
        *_roundStart += nowNanos - due;
        due = nowNanos;
    }
    due = std::max(due, _lastDue + 1);
    _lastDue = due;
    return due;
}

void FilePacing::rewind() {
    if (_roundStart) _roundStart = _lastDue + _frameNanos;
}

} // namespace lanternfly
