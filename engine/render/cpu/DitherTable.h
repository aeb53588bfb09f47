// The jitter of every pixel of a frame: fract(sin(12.9898 x + 78.233 y) · 43758.5453) - 0.5 at the
// pixel's centre, in steps of 1/256.
// Threads: value; shared readers once made.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace lanternfly {

class DitherTable {
public:
    DitherTable(int width, int height);

    // Readable up to the next multiple of 64 pixels beyond the width.
    const int8_t* row(int y) const { return _values.data() + static_cast<size_t>(y) * _stride; }
    static constexpr float stepsPerUnit = 256;

private:
    size_t _stride;
    std::vector<int8_t> _values;
};

} // namespace lanternfly
