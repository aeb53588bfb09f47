#include "render/cpu/SoftMatte.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "render/cpu/Rows.h"
#include "render/cpu/TextureView.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/SoftMatte.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/Pixels-inl.h"

#ifndef LANTERNFLY_RENDER_CPU_SOFT_MATTE_TAPS
#define LANTERNFLY_RENDER_CPU_SOFT_MATTE_TAPS
namespace lanternfly {
namespace {

constexpr float centreWeight = 0.20f;

struct MatteTap {
    double x, y; // steps
    float weight;
};

std::array<MatteTap, 24> matteTaps() {
    std::array<MatteTap, 24> taps;
    size_t count = 0;
    for (int i = 0; i < 8; ++i) {
        const double angle = i * 0.78539816;
        const double2 direction(std::cos(angle), std::sin(angle));
        for (const auto& [steps, weight] :
             {std::pair(0.5, 0.050f), std::pair(1.0, 0.030f), std::pair(1.5, 0.020f)})
            taps[count++] = {direction.x * steps, direction.y * steps, weight};
    }
    return taps;
}

} // namespace
} // namespace lanternfly
#endif

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

void alphaRow(const uint8_t* pixels, size_t count, float* alpha) {
    size_t x = 0;
    for (; x + lanes() <= count; x += lanes())
        hn::StoreU(hn::Mul(unpack(loadPixels(pixels, x)).a, set(1.f / 255)), floats, alpha + x);
    for (; x < count; ++x)
        alpha[x] = static_cast<float>(pixels[x * 4 + 3]) * (1.f / 255);
}

void convolvedRow(const float* alpha, const ptrdiff_t* offsets, const float* weights,
                  size_t weightCount, size_t count, float* matte) {
    for (size_t x = 0; x < count; x += lanes()) {
        Floats sum = hn::Zero(floats);
        for (size_t i = 0; i < weightCount; ++i)
            sum = hn::Add(sum, hn::Mul(hn::LoadU(floats, alpha + x + offsets[i]), set(weights[i])));
        hn::StoreU(hn::Min(sum, set(1)), floats, matte + x);
    }
}

void tappedRow(const TextureView& texture, float2 stepUv, FrameSize frame, int x0, int y,
               size_t count, float* matte) {
    const Floats v = set((static_cast<float>(y) + 0.5f) / static_cast<float>(frame.height));
    const float perWidth = 1 / static_cast<float>(frame.width);
    const auto taps = matteTaps();
    for (size_t x = 0; x < count; x += lanes()) {
        const float first = static_cast<float>(x0) + static_cast<float>(x) + 0.5f;
        const Floats u = hn::Mul(hn::Iota(floats, first), set(perWidth));
        Floats sum = hn::Mul(sample(texture, clamp01(u), v).a, set(centreWeight / 255));
        for (const MatteTap& tap : taps) {
            const Floats tapU = hn::Add(u, set(static_cast<float>(tap.x) * stepUv.x));
            const Floats tapV = hn::Add(v, set(static_cast<float>(tap.y) * stepUv.y));
            const Floats alpha = sample(texture, clamp01(tapU), clamp01(tapV)).a;
            sum = hn::Add(sum, hn::Mul(alpha, set(tap.weight / 255)));
        }
        hn::StoreU(hn::Min(sum, set(1)), floats, matte + x);
    }
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {

HWY_EXPORT(alphaRow);
HWY_EXPORT(convolvedRow);
HWY_EXPORT(tappedRow);

constexpr float minKernelWeight = 1e-7f;

float stepTexels(const CpuTexture& texture, float wrapWidth) {
    return std::max(wrapWidth, minSoftMatteWidth) *
           static_cast<float>(std::max(texture.width(), texture.height()));
}

// Each tap is four texels; texels that several taps share are added up.
void makeKernel(float step, std::vector<MatteWeight>& kernel) {
    kernel.assign(1, {0, 0, centreWeight});
    const auto add = [&](int dx, int dy, double weight) {
        if (weight < double{minKernelWeight}) return;
        const auto known = std::find_if(kernel.begin(), kernel.end(), [&](const MatteWeight& w) {
            return w.dx == dx && w.dy == dy;
        });
        if (known != kernel.end())
            known->weight += static_cast<float>(weight);
        else
            kernel.push_back({dx, dy, static_cast<float>(weight)});
    };
    for (const MatteTap& tap : matteTaps()) {
        const double x = tap.x * double{step};
        const double y = tap.y * double{step};
        const int left = static_cast<int>(std::floor(x));
        const int top = static_cast<int>(std::floor(y));
        const double right = x - left;
        const double low = y - top;
        add(left, top, tap.weight * (1 - right) * (1 - low));
        add(left + 1, top, tap.weight * right * (1 - low));
        add(left, top + 1, tap.weight * (1 - right) * low);
        add(left + 1, top + 1, tap.weight * right * low);
    }
    std::sort(kernel.begin(), kernel.end(), [](const MatteWeight& a, const MatteWeight& b) {
        return a.dy != b.dy ? a.dy < b.dy : a.dx < b.dx;
    });
}

} // namespace

float SoftMatte::reachTexels(const CpuTexture& texture, float wrapWidth) {
    return 1.5f * stepTexels(texture, wrapWidth);
}

void SoftMatte::prepare(const CpuTexture& texture, FrameSize frame, const PixelRect& rect,
                        float wrapWidth) {
    const Key key{texture.serial(), rect, wrapWidth};
    if (_key == key) return;
    _key = key;
    _rect = rect;
    _rect.x0 = rect.x0 / vectorPixels * vectorPixels;
    _rect.x1 = (rect.x1 + vectorPixels - 1) / vectorPixels * vectorPixels;
    _stride = static_cast<size_t>(_rect.width());
    const size_t count = _stride * static_cast<size_t>(_rect.height());
    if (_matte.size() < count) _matte.resize(count);
    const float step = stepTexels(texture, wrapWidth);
    const FrameSize size{texture.width(), texture.height()};
    if (size == frame)
        fillByKernel(texture, step);
    else
        fillByTaps(texture, frame, step / float2(size.width, size.height));
}

void SoftMatte::fillByKernel(const CpuTexture& texture, float step) {
    const PixelBuffer& pixels = texture.level(0);
    const int reach = static_cast<int>(std::ceil(1.5f * step)) + 1;
    const size_t stride = _stride + 2 * static_cast<size_t>(reach);
    const size_t count = stride * static_cast<size_t>(_rect.height() + 2 * reach);
    if (_alpha.size() < count + vectorPixels) _alpha.resize(count + vectorPixels);
    const int x0 = _rect.x0 - reach;
    const int a = std::max(x0, 0);
    const int b = std::min(_rect.x1 + reach, pixels.width());
    for (int y = _rect.y0 - reach; y < _rect.y1 + reach; ++y) {
        float* line = _alpha.data() + static_cast<size_t>(y - _rect.y0 + reach) * stride;
        const uint8_t* from = pixels.row(std::clamp(y, 0, pixels.height() - 1));
        HWY_DYNAMIC_DISPATCH(alphaRow)
        (from + ptrdiff_t{4} * a, static_cast<size_t>(b - a), line + (a - x0));
        std::fill(line, line + (a - x0), line[a - x0]);
        std::fill(line + (b - x0), line + stride, line[b - 1 - x0]);
    }
    makeKernel(step, _kernel);
    _offsets.clear();
    _weights.clear();
    for (const MatteWeight& w : _kernel) {
        _offsets.push_back(w.dy * static_cast<ptrdiff_t>(stride) + w.dx);
        _weights.push_back(w.weight);
    }
    for (int y = 0; y < _rect.height(); ++y)
        HWY_DYNAMIC_DISPATCH(convolvedRow)
    (_alpha.data() + static_cast<size_t>(y + reach) * stride + reach, _offsets.data(),
     _weights.data(), _weights.size(), _stride, _matte.data() + static_cast<size_t>(y) * _stride);
}

void SoftMatte::fillByTaps(const CpuTexture& texture, FrameSize frame, float2 stepUv) {
    const TextureView view(texture.level(0));
    for (int y = _rect.y0; y < _rect.y1; ++y)
        HWY_DYNAMIC_DISPATCH(tappedRow)
    (view, stepUv, frame, _rect.x0, y, _stride,
     _matte.data() + static_cast<size_t>(y - _rect.y0) * _stride);
}

} // namespace lanternfly
#endif
