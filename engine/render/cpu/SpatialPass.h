// The 3D model with its finish: tones brought into the room's range, light of the surroundings
// around its edge, a soft silhouette.
// Threads: bound.
#pragma once

#include "base/PixelBuffer.h"
#include "render/PaneGeometry.h"
#include "render/Uniforms.h"
#include "render/cpu/TextureView.h"

namespace lanternfly {

struct SpatialRow {
    TextureView model; // covers the frame, v downward
    SpatialUniforms uniforms;
    // Null when neither light wrap nor softness ask for it. Begins at `rect.x0` rounded down to a
    // multiple of 16.
    const float* matte = nullptr;
    // The picture behind the model, beginning at the same pixel; may be the output itself.
    const uint8_t* behind = nullptr;
    PixelRect rect;
    int y = 0;
};

// Whether the soft matte changes anything.
bool usesSoftMatte(const SpatialUniforms& uniforms);
void drawSpatialRow(const SpatialRow& row, PixelBuffer& output);

} // namespace lanternfly
