#include "render/cpu/SpatialPass.h"

#include <algorithm>

#include "render/FramePlan.h"
#include "render/cpu/Rows.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/SpatialPass.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/Pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

// By how much every channel is scaled, so that hues keep their ratios.
HWY_INLINE Floats levelScale(const float4& params, const Floats& luminance) {
    const float blackFloor = params.y;
    const float whiteCeiling = params.z;
    const float envelope = std::max(whiteCeiling - blackFloor, 0.05f);
    const float shoulderWidth = 0.15f * envelope;
    const Floats linear = hn::Add(hn::Mul(luminance, set(envelope)), set(blackFloor));
    const Floats shoulder =
        smooth(hn::Mul(hn::Sub(linear, set(whiteCeiling - shoulderWidth)), set(1 / shoulderWidth)));
    const Floats remapped = mix(linear, set(whiteCeiling), hn::Mul(shoulder, set(0.3f)));
    const Floats matched = mix(luminance, remapped, set(params.w));
    return hn::IfThenElse(hn::Gt(luminance, set(0.0001f)), hn::Div(matched, luminance), set(1));
}

// All channels from 0 to 1.
HWY_INLINE Bgra finished(const SpatialUniforms& uniforms, const Bgra& texel, const Bgra& behind,
                         Floats matte) {
    const Floats perAlpha = hn::IfThenElseZero(hn::Gt(texel.a, set(0.0001f)),
                                               hn::Div(set(1), hn::Max(texel.a, set(0.0001f))));
    Floats b = hn::Mul(texel.b, perAlpha);
    Floats g = hn::Mul(texel.g, perAlpha);
    Floats r = hn::Mul(texel.r, perAlpha);
    if (uniforms.levelParams.w > minSpatialStrength) {
        const Floats luminance = hn::Add(
            hn::Add(hn::Mul(r, set(0.2126f)), hn::Mul(g, set(0.7152f))), hn::Mul(b, set(0.0722f)));
        const Floats scale = levelScale(uniforms.levelParams, luminance);
        b = hn::Mul(b, scale);
        g = hn::Mul(g, scale);
        r = hn::Mul(r, scale);
    }
    const Floats wrap = hn::Mul(hn::Sub(set(1), matte), set(uniforms.wrapParams.y));
    const Floats softAlpha = mix(texel.a, matte, set(uniforms.wrapParams.z));
    const Floats presence = smooth(hn::Mul(texel.a, set(1 / 0.04f)));
    const Floats alpha = hn::Mul(softAlpha, set(uniforms.levelParams.x));
    const auto channel = [&](Floats model, Floats under) {
        return hn::Mul(mix(under, mix(model, under, wrap), presence), alpha);
    };
    return {channel(b, behind.b), channel(g, behind.g), channel(r, behind.r), alpha};
}

HWY_INLINE Bgra scaled(const Bgra& c, float factor) {
    const Floats f = set(factor);
    return {hn::Mul(c.b, f), hn::Mul(c.g, f), hn::Mul(c.r, f), hn::Mul(c.a, f)};
}

void spatialRow(const SpatialRow& row, PixelBuffer& output) {
    const size_t step = lanes();
    uint8_t* out = output.row(row.y);
    const auto first = static_cast<size_t>(row.rect.x0) / vectorPixels * vectorPixels;
    const bool isSameSize =
        row.model.width == output.width() && row.model.height == output.height();
    const uint8_t* texels = row.model.pixels + ptrdiff_t{4} * row.y * row.model.stridePixels;
    const Floats v = set((static_cast<float>(row.y) + 0.5f) / static_cast<float>(output.height()));
    const float perWidth = 1 / static_cast<float>(output.width());
    for (size_t x = static_cast<size_t>(row.rect.x0) / step * step;
         x < static_cast<size_t>(row.rect.x1); x += step) {
        Bgra texel;
        if (isSameSize) {
            texel = unpack(loadPixels(texels, x));
        } else {
            const Floats u = hn::Mul(hn::Iota(floats, static_cast<float>(x) + 0.5f), set(perWidth));
            texel = sample(row.model, clamp01(u), v);
        }
        texel = scaled(texel, 1.f / 255);
        const Floats matte = row.matte ? hn::LoadU(floats, row.matte + (x - first)) : texel.a;
        // A pixel without alpha in and around it stays as it is.
        Mask isDrawn = hn::Gt(hn::Max(texel.a, matte), hn::Zero(floats));
        if (!row.matte) isDrawn = hn::Ge(texel.a, set(minVisible));
        if (hn::AllFalse(floats, isDrawn)) continue;
        const Bgra behind = scaled(unpack(loadPixels(row.behind, x - first)), 1.f / 255);
        const Bgra source = scaled(finished(row.uniforms, texel, behind, matte), 255);
        const Ints below = loadPixels(out, x);
        const Ints blended = blendOver(source, below);
        storePixels(hn::IfThenElse(hn::RebindMask(ints, isDrawn), blended, below), out, x);
    }
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {
HWY_EXPORT(spatialRow);
} // namespace

bool usesSoftMatte(const SpatialUniforms& uniforms) {
    return std::max(uniforms.wrapParams.y, uniforms.wrapParams.z) >= minSpatialStrength;
}

void drawSpatialRow(const SpatialRow& row, PixelBuffer& output) {
    HWY_DYNAMIC_DISPATCH(spatialRow)(row, output);
}

} // namespace lanternfly
#endif
