// The soft silhouette of a 3D model: its alpha through a 25-tap disc of three rings, for each pixel
// of a frame that the model's texture covers.
//
// Where texture and frame have one size, each tap lies between the same four texels of every pixel,
// and the disc becomes one sparse kernel.
// Threads: bound.
#pragma once

#include <vector>

#include "gpu/cpu/CpuDevice.h"
#include "render/FramePlan.h"

namespace lanternfly {

// One texel of the sparse kernel.
struct MatteWeight {
    int dx = 0, dy = 0;
    float weight = 0;
};

class SoftMatte {
public:
    // How far the disc reaches, in texels.
    static float reachTexels(const CpuTexture& texture, float wrapWidth);

    // For the pixels of `rect`; kept while nothing changes.
    void prepare(const CpuTexture& texture, FrameSize frame, const PixelRect& rect,
                 float wrapWidth);
    // 0…1, of the rectangle widened to multiples of 16 pixels, the first at its left end.
    const float* row(int y) const {
        return _matte.data() + static_cast<size_t>(y - _rect.y0) * _stride;
    }

private:
    struct Key {
        uint64_t serial;
        PixelRect rect;
        float wrapWidth;
        friend bool operator==(const Key&, const Key&) = default;
    };
    void fillByKernel(const CpuTexture& texture, float stepTexels);
    void fillByTaps(const CpuTexture& texture, FrameSize frame, float2 stepUv);

    Key _key{};
    PixelRect _rect; // in whole vectors
    size_t _stride = 0;
    std::vector<float> _matte;
    std::vector<float> _alpha; // around the rectangle, edges repeated
    std::vector<MatteWeight> _kernel;
    std::vector<ptrdiff_t> _offsets;
    std::vector<float> _weights;
};

} // namespace lanternfly
