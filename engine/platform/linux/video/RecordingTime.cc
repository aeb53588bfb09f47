#include "platform/linux/video/RecordingTime.h"

#include <cmath>

namespace lanternfly {

MediaTime RecordingTime::next(MediaTime pts) {
    const double source = pts.seconds();
    if (_lastSource) {
        const double gap = source - *_lastSource;
        _last += pts.isValid() && gap > 0 && gap < maxGapSeconds ? gap : _frameSeconds;
    }
    if (pts.isValid() || !_lastSource) _lastSource = source;
    return MediaTime::fromNanos(std::llround(_last * 1e9));
}

double RecordingTime::secondsOf(MediaTime pts) const {
    return _last + pts.seconds() - _lastSource.value_or(pts.seconds());
}

} // namespace lanternfly
