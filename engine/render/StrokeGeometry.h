// From an authored ink stroke to a triangle strip whose vertices carry what the stroke shaders
// need: a feathered edge, a width that grows at the head and tapers at the tail, a fading tail.
// Threads: value.
#pragma once

#include <span>
#include <string_view>
#include <vector>

#include "base/Vectors.h"
#include "document/Stroke.h"
#include "render/InkProfile.h"

namespace lanternfly::StrokeGeometry {

struct Vertex {
    float2 position{0, 0};      // pixels of the authoring viewport, y down
    float coreOffset = 0;       // signed distance from the centre line: left rib above 0
    float coreHalfWidth = 0;    // full coverage inside it
    float featherHalfWidth = 0; // no coverage beyond it
    float alpha = 0;            // 0…1
    friend bool operator==(const Vertex&, const Vertex&) = default;
};

struct StrokeMesh {
    std::vector<Vertex> vertices; // in triangle-strip order: left, right, left, right, …
    float4 color{1, 1, 1, 1};     // straight-alpha RGBA, 0…1

    int triangleStripVertexCount() const { return static_cast<int>(vertices.size()); }
    friend bool operator==(const StrokeMesh&, const StrokeMesh&) = default;
};

// "#RRGGBB" or "#RRGGBBAA", the mark optional; opaque white for anything else.
float4 parseHexColor(std::string_view color);

// Chaikin's corner cutting (1974) with both end points kept: n points become 2n − 2 an iteration.
std::vector<double2> smoothPolyline(std::span<const double2> points, int iterations);

// The mesh is empty for fewer than two usable points, or when all points are one. A closed loop has
// neither head nor tail; its tangents wrap around, and no vertex is repeated at its end. Points
// without two finite coordinates are skipped.
StrokeMesh tessellate(const Stroke& stroke, const InkProfile& profile, int smoothingIterations,
                      bool isClosedLoop);

} // namespace lanternfly::StrokeGeometry
