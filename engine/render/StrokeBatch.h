// One ink stroke ready to draw.
// Threads: value.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "base/Vectors.h"
#include "render/StrokeGeometry.h"

namespace lanternfly {

struct StrokeBatch {
    StrokeBatch() = default;
    // The mesh's vertices in order; a viewport side of 1 or less becomes 1.
    StrokeBatch(const StrokeGeometry::StrokeMesh& mesh, const DrawingViewport& viewport);

    static constexpr size_t floatsPerVertex = 6;

    // Triangle strip, 6 numbers a vertex: x, y (authoring-viewport pixels, y down), coreOffset,
    // coreHalfWidth, featherHalfWidth, alpha.
    std::vector<float> vertexBuffer;
    int triangleStripVertexCount = 0;
    bool isLean = false; // it would look otherwise without any of its vertices: none to leave out
    float4 color{0};     // straight alpha
    // The rectangle that is mapped onto the output frame.
    float viewportWidthPX = 1;
    float viewportHeightPX = 1;

    bool isEmpty() const { return triangleStripVertexCount < 4; }
    friend bool operator==(const StrokeBatch&, const StrokeBatch&) = default;
};

// A shared batch never changes, so that whoever knows it by its address need not look at it again.
using StrokeBatchRef = std::shared_ptr<const StrokeBatch>;                // never null
using StrokeBatches = std::shared_ptr<const std::vector<StrokeBatchRef>>; // never null
StrokeBatches sharedBatches(std::vector<StrokeBatch> batches);

} // namespace lanternfly
