#include "render/cpu/GaussianBlur.h"

#include <algorithm>
#include <cmath>
#include <cstring>

#include "render/BlurReduction.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/GaussianBlur.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;
using Tag = hn::ScalableTag<int16_t>;
constexpr Tag d16;

HWY_INLINE hn::Vec<Tag> load(const int16_t* p) {
    return hn::LoadU(d16, p);
}
HWY_INLINE hn::Vec<Tag> load(const uint8_t* p) {
    return hn::PromoteTo(d16, hn::LoadU(hn::Rebind<uint8_t, Tag>(), p));
}
// Pixels to 1/64.
HWY_INLINE hn::Vec<Tag> scaled(hn::Vec<Tag> v, const uint8_t*) {
    return hn::ShiftLeft<6>(v);
}
HWY_INLINE hn::Vec<Tag> scaled(hn::Vec<Tag> v, const int16_t*) {
    return v;
}

// The weighted sum of rows[0…2 radius] at one element, as the vector code rounds it.
int16_t weightedSum(const void* const* rows, const int16_t* weights, int radius, size_t at) {
    const auto element = [&](int index) {
        return static_cast<const uint8_t*>(rows[index])[at] * 64;
    };
    const auto product = [](int value, int weight) { return (value * weight + 0x4000) >> 15; };
    int sum = product(element(radius), weights[0]);
    for (int i = 1; i <= radius; ++i)
        sum += product(element(radius - i) + element(radius + i), weights[i]);
    return static_cast<int16_t>(sum);
}

template <typename T>
void verticalRow(const void* const* rows, const int16_t* weights, int radius, size_t count,
                 int16_t* out) {
    const auto row = [&](int index) { return static_cast<const T*>(rows[index]); };
    const size_t step = hn::Lanes(d16);
    size_t x = 0;
    // Rows of ours are padded, rows of a picture are not.
    const size_t end = sizeof(T) == 1 ? count / step * step : count;
    for (; x < end; x += step) {
        const T* centre = row(radius) + x;
        auto sum = hn::MulFixedPoint15(scaled(load(centre), centre), hn::Set(d16, weights[0]));
        for (int i = 1; i <= radius; ++i) {
            const auto pair = hn::Add(load(row(radius - i) + x), load(row(radius + i) + x));
            sum = hn::Add(sum, hn::MulFixedPoint15(scaled(pair, centre), hn::Set(d16, weights[i])));
        }
        hn::StoreU(sum, d16, out + x);
    }
    for (; x < count; ++x)
        out[x] = weightedSum(rows, weights, radius, x);
}
void verticalRowOfPixels(const void* const* rows, const int16_t* weights, int radius, size_t count,
                         int16_t* out) {
    verticalRow<uint8_t>(rows, weights, radius, count, out);
}
void verticalRowOfCells(const void* const* rows, const int16_t* weights, int radius, size_t count,
                        int16_t* out) {
    verticalRow<int16_t>(rows, weights, radius, count, out);
}

HWY_INLINE hn::Vec<Tag> horizontalSum(const int16_t* in, const int16_t* weights, int radius) {
    const int16_t* centre = in + 4 * radius;
    auto sum = hn::MulFixedPoint15(load(centre), hn::Set(d16, weights[0]));
    for (int i = 1; i <= radius; ++i) {
        const auto pair = hn::Add(load(centre - 4 * i), load(centre + 4 * i));
        sum = hn::Add(sum, hn::MulFixedPoint15(pair, hn::Set(d16, weights[i])));
    }
    return sum;
}
template <typename D>
HWY_INLINE void storeRounded(hn::Vec<D> v, D d, uint8_t* out) {
    const hn::Rebind<uint8_t, D> bytes;
    hn::StoreU(hn::DemoteTo(bytes, hn::ShiftRight<6>(hn::Add(v, hn::Set(d, 32)))), bytes, out);
}
void horizontalRowToPixels(const int16_t* in, const int16_t* weights, int radius, size_t count,
                           uint8_t* out) {
    for (size_t x = 0; x < count; x += hn::Lanes(d16))
        storeRounded(horizontalSum(in + x, weights, radius), d16, out + x);
}
void horizontalRowToCells(const int16_t* in, const int16_t* weights, int radius, size_t count,
                          int16_t* out) {
    for (size_t x = 0; x < count; x += hn::Lanes(d16))
        hn::StoreU(horizontalSum(in + x, weights, radius), d16, out + x);
}

void sumRows(const void* const* rows, int rowCount, size_t count, uint16_t* out) {
    const hn::ScalableTag<uint16_t> d;
    const hn::Rebind<uint8_t, decltype(d)> bytes;
    const size_t step = hn::Lanes(d);
    const auto row = [&](int index) { return static_cast<const uint8_t*>(rows[index]); };
    size_t x = 0;
    for (; x + step <= count; x += step) {
        auto sum = hn::PromoteTo(d, hn::LoadU(bytes, row(0) + x));
        for (int i = 1; i < rowCount; ++i)
            sum = hn::Add(sum, hn::PromoteTo(d, hn::LoadU(bytes, row(i) + x)));
        hn::StoreU(sum, d, out + x);
    }
    for (; x < count; ++x) {
        unsigned sum = 0;
        for (int i = 0; i < rowCount; ++i)
            sum += row(i)[x];
        out[x] = static_cast<uint16_t>(sum);
    }
}

// `sums` are sums of `reduction` rows; cells come out in 1/64.
void sumColumns(const uint16_t* sums, int reduction, size_t cellCount, int16_t* cells) {
    const hn::CappedTag<uint16_t, 4> d;
    const hn::RebindToSigned<decltype(d)> d16x4;
    for (size_t cell = 0; cell < cellCount; ++cell) {
        const uint16_t* first = sums + cell * static_cast<size_t>(reduction) * 4;
        auto sum = hn::LoadU(d, first);
        for (int i = 1; i < reduction; ++i)
            sum = hn::Add(sum, hn::LoadU(d, first + i * 4));
        switch (reduction) {
        case 2:
            sum = hn::ShiftLeft<4>(sum);
            break;
        case 4:
            sum = hn::ShiftLeft<2>(sum);
            break;
        case 8:
            break;
        // 255 · 16² + 2 still fits into 16 bits.
        case 16:
            sum = hn::ShiftRight<2>(hn::Add(sum, hn::Set(d, 2)));
            break;
        }
        hn::StoreU(hn::BitCast(d16x4, sum), d16x4, cells + cell * 4);
    }
}

void mixRows(const int16_t* a, const int16_t* b, int16_t weightOfB, size_t count, int16_t* out) {
    for (size_t x = 0; x < count; x += hn::Lanes(d16)) {
        const auto low = load(a + x);
        const auto rise = hn::MulFixedPoint15(hn::Sub(load(b + x), low), hn::Set(d16, weightOfB));
        hn::StoreU(hn::Add(low, rise), d16, out + x);
    }
}

// From each neighbouring pair of cells the `reduction` pixels between their centres.
void interpolateColumns(const int16_t* cells, int reduction, const int16_t* phases,
                        size_t pairCount, uint8_t* out) {
    const hn::CappedTag<int16_t, 8> d; // two pixels
    const hn::Repartition<int64_t, decltype(d)> d64;
    const auto twice = [&](const int16_t* cell) {
        int64_t bits;
        std::memcpy(&bits, cell, sizeof bits);
        return hn::BitCast(d, hn::Set(d64, bits));
    };
    for (size_t pair = 0; pair < pairCount; ++pair) {
        const auto low = twice(cells + pair * 4);
        const auto rise = hn::Sub(twice(cells + pair * 4 + 4), low);
        for (int i = 0; i < reduction / 2; ++i, out += 8)
            storeRounded(hn::Add(low, hn::MulFixedPoint15(rise, hn::LoadU(d, phases + i * 8))), d,
                         out);
    }
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {

HWY_EXPORT(verticalRowOfPixels);
HWY_EXPORT(verticalRowOfCells);
HWY_EXPORT(horizontalRowToPixels);
HWY_EXPORT(horizontalRowToCells);
HWY_EXPORT(sumRows);
HWY_EXPORT(sumColumns);
HWY_EXPORT(mixRows);
HWY_EXPORT(interpolateColumns);

constexpr size_t slack = 128; // elements that vector code may touch beyond the last one

template <typename T>
void growTo(std::vector<T>& buffer, size_t count) {
    if (buffer.size() < count + slack) buffer.resize(count + slack);
}

int floorDivided(int a, int b) {
    return a >= 0 ? a / b : -((b - 1 - a) / b);
}

// The cells left and right of the centres of pixels a … b - 1.
void cellRange(int a, int b, int reduction, int& first, int& end) {
    first = floorDivided(a - reduction / 2, reduction);
    end = floorDivided(b - 1 - reduction / 2, reduction) + 2;
}

template <typename T>
void repeatPixel(T* out, size_t count, const T* pixel) {
    for (size_t i = 0; i < count; ++i)
        std::memcpy(out + i * 4, pixel, 4 * sizeof(T));
}

} // namespace

void GaussianBlur::Kernel::make(float wantedSigma) {
    if (sigma == wantedSigma) return;
    sigma = wantedSigma;
    const int reach = blurRadiusFor(sigma);
    weights.resize(static_cast<size_t>(reach) + 1);
    const auto density = [&](int i) { return std::exp(-0.5 * i * i / (double{sigma} * sigma)); };
    double sum = 1;
    for (int i = 1; i <= reach; ++i)
        sum += 2 * density(i);
    int rest = 32768;
    for (int i = 1; i <= reach; ++i) {
        weights[static_cast<size_t>(i)] =
            static_cast<int16_t>(std::lround(density(i) / sum * 32768));
        rest -= 2 * weights[static_cast<size_t>(i)];
    }
    weights[0] = static_cast<int16_t>(std::min(rest, 32767));
}

void GaussianBlur::prepare(const PixelBuffer& source, const PixelRect& rect, float sigmaX,
                           float sigmaY) {
    _source = &source;
    _rect = rect;
    _reduction = blurReductionFor(std::min(sigmaX, sigmaY));
    _kernelX.make(reducedBlurSigma(sigmaX, _reduction));
    _kernelY.make(reducedBlurSigma(sigmaY, _reduction));
    const auto rectWidth = static_cast<size_t>(rect.width());
    if (_reduction == 1) {
        growTo(_line, (rectWidth + 2 * static_cast<size_t>(_kernelX.radius())) * 4);
        growTo(_pixels, rectWidth * 4);
        return;
    }
    cellRange(rect.x0, rect.x1, _reduction, _cells.x0, _cells.x1);
    cellRange(rect.y0, rect.y1, _reduction, _cells.y0, _cells.y1);
    _wideCells = {_cells.x0 - _kernelX.radius(), _cells.y0 - _kernelY.radius(),
                  _cells.x1 + _kernelX.radius(), _cells.y1 + _kernelY.radius()};
    const auto cellCount = [](const PixelRect& r) {
        return static_cast<size_t>(r.width()) * static_cast<size_t>(r.height()) * 4;
    };
    growTo(_wide, cellCount(_wideCells));
    growTo(_blurred, cellCount(_cells));
    growTo(_line, static_cast<size_t>(_wideCells.width()) * 4);
    growTo(_sums, static_cast<size_t>(_wideCells.width() * _reduction) * 4);
    growTo(_pixels, static_cast<size_t>(_cells.width() * _reduction) * 4);
    reduce();
    convolveReduced();
}

const uint8_t* GaussianBlur::row(int y) {
    if (_reduction == 1) {
        convolveRow(y);
        return _pixels.data();
    }
    interpolateRow(y);
    const int firstPixel = _cells.x0 * _reduction + _reduction / 2;
    return _pixels.data() + static_cast<size_t>(_rect.x0 - firstPixel) * 4;
}

void GaussianBlur::reduce() {
    const int firstColumn = _wideCells.x0 * _reduction;
    const int endColumn = _wideCells.x1 * _reduction;
    // The part of the line that lies in the picture; the rest repeats its ends.
    const int a = std::clamp(firstColumn, 0, _source->width() - 1);
    const int b = std::clamp(endColumn, a + 1, _source->width());
    const auto count = static_cast<size_t>(b - a) * 4;
    uint16_t* inside = _sums.data() + static_cast<size_t>(a - firstColumn) * 4;
    const auto cellCount = static_cast<size_t>(_wideCells.width());
    _rows.resize(static_cast<size_t>(_reduction));
    for (int cell = 0; cell < _wideCells.height(); ++cell) {
        const int firstRow = (_wideCells.y0 + cell) * _reduction;
        for (int i = 0; i < _reduction; ++i)
            _rows[static_cast<size_t>(i)] =
                _source->row(std::clamp(firstRow + i, 0, _source->height() - 1)) +
                static_cast<size_t>(a) * 4;
        HWY_DYNAMIC_DISPATCH(sumRows)(_rows.data(), _reduction, count, inside);
        repeatPixel(_sums.data(), static_cast<size_t>(a - firstColumn), inside);
        repeatPixel(inside + count, static_cast<size_t>(endColumn - b), inside + count - 4);
        HWY_DYNAMIC_DISPATCH(sumColumns)
        (_sums.data(), _reduction, cellCount,
         _wide.data() + static_cast<size_t>(cell) * cellCount * 4);
    }
}

void GaussianBlur::convolveReduced() {
    const size_t wideCount = static_cast<size_t>(_wideCells.width()) * 4;
    const size_t count = static_cast<size_t>(_cells.width()) * 4;
    const int taps = 2 * _kernelY.radius() + 1;
    _rows.resize(static_cast<size_t>(taps));
    for (int cell = 0; cell < _cells.height(); ++cell) {
        for (int i = 0; i < taps; ++i)
            _rows[static_cast<size_t>(i)] =
                _wide.data() + static_cast<size_t>(cell + i) * wideCount;
        HWY_DYNAMIC_DISPATCH(verticalRowOfCells)
        (_rows.data(), _kernelY.weights.data(), _kernelY.radius(), wideCount, _line.data());
        HWY_DYNAMIC_DISPATCH(horizontalRowToCells)
        (_line.data(), _kernelX.weights.data(), _kernelX.radius(), count,
         _blurred.data() + static_cast<size_t>(cell) * count);
    }
}

void GaussianBlur::convolveRow(int y) {
    const int radius = _kernelX.radius();
    const int firstColumn = _rect.x0 - radius;
    const int endColumn = _rect.x1 + radius;
    const int a = std::max(firstColumn, 0);
    const int b = std::min(endColumn, _source->width());
    const auto count = static_cast<size_t>(b - a) * 4;
    const int taps = 2 * _kernelY.radius() + 1;
    _rows.resize(static_cast<size_t>(taps));
    for (int i = 0; i < taps; ++i)
        _rows[static_cast<size_t>(i)] =
            _source->row(std::clamp(y - _kernelY.radius() + i, 0, _source->height() - 1)) +
            static_cast<size_t>(a) * 4;
    int16_t* inside = _line.data() + static_cast<size_t>(a - firstColumn) * 4;
    HWY_DYNAMIC_DISPATCH(verticalRowOfPixels)
    (_rows.data(), _kernelY.weights.data(), _kernelY.radius(), count, inside);
    repeatPixel(_line.data(), static_cast<size_t>(a - firstColumn), inside);
    repeatPixel(inside + count, static_cast<size_t>(endColumn - b), inside + count - 4);
    HWY_DYNAMIC_DISPATCH(horizontalRowToPixels)
    (_line.data(), _kernelX.weights.data(), radius, static_cast<size_t>(_rect.width()) * 4,
     _pixels.data());
}

void GaussianBlur::interpolateRow(int y) {
    const int fromFirst = y - _reduction / 2;
    const int cell = floorDivided(fromFirst, _reduction);
    const auto phase = [&](int step) {
        return static_cast<int16_t>((2 * step + 1) * 32768 / (2 * _reduction));
    };
    const size_t count = static_cast<size_t>(_cells.width()) * 4;
    const int16_t* above = _blurred.data() + static_cast<size_t>(cell - _cells.y0) * count;
    HWY_DYNAMIC_DISPATCH(mixRows)
    (above, above + count, phase(fromFirst - cell * _reduction), count, _line.data());

    int16_t phases[maxBlurReduction * 4];
    for (int step = 0; step < _reduction; ++step)
        std::fill_n(phases + step * 4, 4, phase(step));
    HWY_DYNAMIC_DISPATCH(interpolateColumns)
    (_line.data(), _reduction, phases, static_cast<size_t>(_cells.width()) - 1, _pixels.data());
}

} // namespace lanternfly
#endif
