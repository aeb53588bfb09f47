// The part of a texture that is not clear. Textures do not change, so each is searched once.
// Threads: bound.
#pragma once

#include "gpu/cpu/CpuDevice.h"
#include "render/FramePlan.h"

namespace lanternfly {

class VisibleBox {
public:
    // In texels; empty for a clear texture.
    const PixelRect& of(const CpuTexture& texture);

    // The pixels of a frame that the texels of `box`, and `reachTexels` around them, can touch when
    // the texture covers the whole frame.
    static PixelRect inFrame(const PixelRect& box, const CpuTexture& texture, FrameSize frame,
                             float reachTexels, bool vDownward);

private:
    uint64_t _serial = 0; // of the texture searched last
    PixelRect _box;
};

} // namespace lanternfly
