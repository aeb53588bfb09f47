#include "platform/linux/video/SoundQueue.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace lanternfly {
namespace {

// About 40 ms each, 5 s together.
constexpr size_t pieceFloats = 4096;
constexpr size_t pieces = 120;

} // namespace

SoundQueue::SoundQueue() : _ring(pieces) {
    for (Piece& piece : _ring)
        piece.samples.reserve(pieceFloats);
}

void SoundQueue::put(const SoundBlock& block) {
    constexpr double floatsPerSecond = double{SoundBlock::rate} * SoundBlock::channels;
    for (size_t first = 0; first < block.samples.size(); first += pieceFloats) {
        const double seconds = block.pts.seconds() + static_cast<double>(first) / floatsPerSecond;
        const size_t count = std::min(pieceFloats, block.samples.size() - first);
        putPiece(block.samples.subspan(first, count),
                 MediaTime::fromNanos(std::llround(seconds * 1e9)));
    }
}

void SoundQueue::putPiece(std::span<const float> samples, MediaTime pts) {
    const std::lock_guard guard(_mutex);
    if (_count == _ring.size()) {
        _first = (_first + 1) % _ring.size();
        --_count;
    }
    Piece& piece = _ring[(_first + _count++) % _ring.size()];
    piece.samples.assign(samples.begin(), samples.end());
    piece.pts = pts;
}

bool SoundQueue::take(Piece& piece) {
    piece.samples.reserve(pieceFloats);
    const std::lock_guard guard(_mutex);
    if (_count == 0) return false;
    std::swap(piece, _ring[_first]);
    _first = (_first + 1) % _ring.size();
    --_count;
    return true;
}

} // namespace lanternfly
