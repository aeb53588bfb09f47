// A point of a stroke: x, y and at most one number more, such as a pen's pressure. It holds them
// itself: a page full of ink is tens of thousands of points, copied whenever ink changes.
// Threads: value.
#pragma once

#include <array>
#include <cstddef>
#include <initializer_list>

namespace lanternfly {

class StrokePoint {
public:
    static constexpr size_t maxCoordinates = 3;

    StrokePoint() = default;
    StrokePoint(std::initializer_list<double> coordinates) {
        for (const double coordinate : coordinates)
            push_back(coordinate);
    }

    // What comes after the last place is dropped.
    void push_back(double coordinate) {
        if (_size < maxCoordinates) _coordinates[_size++] = coordinate;
    }

    size_t size() const { return _size; }
    double operator[](size_t i) const { return _coordinates[i]; }
    double at(size_t i) const { return _coordinates.at(i); } // 0 beyond its size
    const double* begin() const { return _coordinates.data(); }
    const double* end() const { return begin() + _size; }

    friend bool operator==(const StrokePoint&, const StrokePoint&) = default;

private:
    std::array<double, maxCoordinates> _coordinates{};
    size_t _size = 0;
};

} // namespace lanternfly
