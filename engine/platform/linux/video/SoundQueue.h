// Sound on its way from the thread that hears it to the one that writes it. When nobody writes, the
// oldest is lost. Allocates nothing after its making.
// Threads: safe.
#pragma once

#include <mutex>
#include <vector>

#include "platform/SoundSource.h"

namespace lanternfly {

class SoundQueue {
public:
    // A piece of a block.
    struct Piece {
        std::vector<float> samples;
        MediaTime pts;
    };

    SoundQueue();

    void put(const SoundBlock& block);
    // Exchanges the oldest piece for this one, which was taken before or is new. False when there
    // is none.
    bool take(Piece& piece);

private:
    void putPiece(std::span<const float> samples, MediaTime pts);

    std::mutex _mutex;
    std::vector<Piece> _ring;
    size_t _first = 0, _count = 0;
};

} // namespace lanternfly
