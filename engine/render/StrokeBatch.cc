#include "render/StrokeBatch.h"

#include <algorithm>
#include <cstddef>
#include <type_traits>

namespace lanternfly {

StrokeBatch::StrokeBatch(const StrokeGeometry::StrokeMesh& mesh, const DrawingViewport& viewport)
    : triangleStripVertexCount(mesh.triangleStripVertexCount()), color(mesh.color),
      viewportWidthPX(static_cast<float>(std::max(1.0, viewport.width))),
      viewportHeightPX(static_cast<float>(std::max(1.0, viewport.height))) {
    using StrokeGeometry::Vertex;
    static_assert(sizeof(Vertex) == floatsPerVertex * sizeof(float) &&
                  std::is_trivially_copyable_v<Vertex> && offsetof(Vertex, coreOffset) == 8 &&
                  offsetof(Vertex, alpha) == 20);
    const auto* floats = reinterpret_cast<const float*>(mesh.vertices.data());
    vertexBuffer.assign(floats, floats + mesh.vertices.size() * floatsPerVertex);
}

StrokeBatches sharedBatches(std::vector<StrokeBatch> batches) {
    std::vector<StrokeBatchRef> shared;
    shared.reserve(batches.size());
    for (StrokeBatch& batch : batches)
        shared.push_back(std::make_shared<const StrokeBatch>(std::move(batch)));
    return std::make_shared<const std::vector<StrokeBatchRef>>(std::move(shared));
}

} // namespace lanternfly
