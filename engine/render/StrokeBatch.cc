#include "render/StrokeBatch.h"

#include <algorithm>

namespace lanternfly {

StrokeBatch::StrokeBatch(const StrokeGeometry::StrokeMesh& mesh, const DrawingViewport& viewport)
    : triangleStripVertexCount(mesh.triangleStripVertexCount()), color(mesh.color),
      viewportWidthPX(static_cast<float>(std::max(1.0, viewport.width))),
      viewportHeightPX(static_cast<float>(std::max(1.0, viewport.height))) {
    vertexBuffer.reserve(mesh.vertices.size() * 6);
    for (const StrokeGeometry::Vertex& vertex : mesh.vertices)
        vertexBuffer.insert(vertexBuffer.end(),
                            {vertex.position.x, vertex.position.y, vertex.coreOffset,
                             vertex.coreHalfWidth, vertex.featherHalfWidth, vertex.alpha});
}

} // namespace lanternfly
