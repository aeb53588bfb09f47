#include "tracks/PoseTrackPlayer.h"

namespace lanternfly {

PoseTrackPlayer::PoseTrackPlayer(PoseTrackReader reader)
    : _reader(std::move(reader)), _next(_reader.next()) {}

const PoseTrackFrame* PoseTrackPlayer::at(double seconds) {
    const double latest = seconds + 0.5 / header().frameRate;
    _given.reset();
    while (_next && _next->seconds <= latest) {
        _given = std::move(_next);
        _next = _reader.next();
    }
    return _given && _given->isLookedAt ? &*_given : nullptr;
}

} // namespace lanternfly
