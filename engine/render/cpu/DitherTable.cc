#include "render/cpu/DitherTable.h"

#include <algorithm>
#include <cmath>

namespace lanternfly {

namespace {

constexpr double stepX = 12.9898;
constexpr double stepY = 78.233;
constexpr double spread = 43758.5453;

} // namespace

// sin(a + b) = sin a · cos b + cos a · sin b: one sine and cosine a row and a column instead of a
// sine a pixel. Double precision leaves an error of about 1e-11 after the spread.
DitherTable::DitherTable(int width, int height)
    : _stride((static_cast<size_t>(width) + 63) / 64 * 64),
      _values(_stride * static_cast<size_t>(height)) {
    std::vector<double> sines(_stride);
    std::vector<double> cosines(_stride);
    for (size_t x = 0; x < _stride; ++x) {
        sines[x] = std::sin((static_cast<double>(x) + 0.5) * stepX);
        cosines[x] = std::cos((static_cast<double>(x) + 0.5) * stepX);
    }
    for (int y = 0; y < height; ++y) {
        const double sineY = std::sin((y + 0.5) * stepY);
        const double cosineY = std::cos((y + 0.5) * stepY);
        int8_t* values = _values.data() + static_cast<size_t>(y) * _stride;
        for (size_t x = 0; x < _stride; ++x) {
            const double hash = (sines[x] * cosineY + cosines[x] * sineY) * spread;
            const double centred = hash - std::floor(hash) - 0.5;
            values[x] =
                static_cast<int8_t>(std::min(std::floor(centred * stepsPerUnit + 0.5), 127.0));
        }
    }
}

} // namespace lanternfly
