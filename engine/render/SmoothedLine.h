// A polyline after three rounds of corner cutting, point by point as StrokeGeometry::smoothPolyline
// gives it, and what the ribs of an open stroke are made from. A point of the third round is a
// fixed mix of three of the line's own points, so that it goes there in one step.
//
// Results have single precision. The memory is kept from one line to the next.
// Threads: value.
#pragma once

#include <span>
#include <vector>

#include "base/Vectors.h"

namespace lanternfly {

class SmoothedLine {
public:
    // The points that each point between the ends becomes.
    static constexpr size_t perPoint = 8;

    // Finite points, two or more.
    void assign(std::span<const double2> points);

    size_t size() const { return _x.size(); } // 8n - 14 for n points
    double lengthPX() const { return _lengthPX; }
    float2 position(size_t i) const { return {_x[i], _y[i]}; }
    float2 tangent(size_t i) const { return {_tangentX[i], _tangentY[i]}; } // of length 1
    float arcPX(size_t i) const { return _arc[i]; }                         // way from the start
    // The way from the line's own point i to the next.
    float2 way(size_t i) const { return {_wayX[i], _wayY[i]}; }

private:
    void setEnd(size_t i, double2 position, float2 way, double arcPX);

    std::vector<float> _wayX, _wayY;
    std::vector<float> _x, _y, _tangentX, _tangentY, _arc;
    double _lengthPX = 0;
};

} // namespace lanternfly
