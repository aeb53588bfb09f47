// Pixels, textures and pane distances as vectors. Included once for every instruction set.
//
// Only operations that IEEE 754 rounds exactly are used (no fused or approximate ones), so that
// every instruction set draws the same bits.
#if defined(LANTERNFLY_RENDER_CPU_PIXELS_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef LANTERNFLY_RENDER_CPU_PIXELS_INL_H_
#undef LANTERNFLY_RENDER_CPU_PIXELS_INL_H_
#else
#define LANTERNFLY_RENDER_CPU_PIXELS_INL_H_
#endif

#include <cstddef>
#include <cstring>

#include <hwy/highway.h>

#include "render/cpu/PaneField.h"
#include "render/cpu/TextureView.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using FloatTag = hn::CappedTag<float, 16>;
using IntTag = hn::RebindToSigned<FloatTag>;
using Floats = hn::Vec<FloatTag>;
using Ints = hn::Vec<IntTag>;
using Mask = hn::Mask<FloatTag>;

inline constexpr FloatTag floats;
inline constexpr IntTag ints;

HWY_INLINE size_t lanes() {
    return hn::Lanes(floats);
}
HWY_INLINE Floats set(float value) {
    return hn::Set(floats, value);
}
HWY_INLINE Floats clamp01(Floats v) {
    return hn::Min(hn::Max(v, set(0)), set(1));
}
HWY_INLINE Floats mix(Floats a, Floats b, Floats t) {
    return hn::Add(a, hn::Mul(hn::Sub(b, a), t));
}
// smoothstep, given t = (x - edge0) / (edge1 - edge0).
HWY_INLINE Floats smooth(Floats t) {
    t = clamp01(t);
    return hn::Mul(hn::Mul(t, t), hn::Sub(set(3), hn::Add(t, t)));
}

// Channels from 0 to 255.
struct Bgra {
    Floats b, g, r, a;
};

HWY_INLINE Ints loadPixels(const uint8_t* row, size_t x) {
    return hn::LoadU(ints, reinterpret_cast<const int32_t*>(row) + x);
}
HWY_INLINE void storePixels(Ints pixels, uint8_t* row, size_t x) {
    hn::StoreU(pixels, ints, reinterpret_cast<int32_t*>(row) + x);
}
HWY_INLINE Bgra unpack(Ints pixels) {
    const Ints mask = hn::Set(ints, 0xff);
    const hn::RebindToUnsigned<IntTag> bits;
    const auto top = hn::BitCast(ints, hn::ShiftRight<24>(hn::BitCast(bits, pixels)));
    return {hn::ConvertTo(floats, hn::And(pixels, mask)),
            hn::ConvertTo(floats, hn::And(hn::ShiftRight<8>(pixels), mask)),
            hn::ConvertTo(floats, hn::And(hn::ShiftRight<16>(pixels), mask)),
            hn::ConvertTo(floats, top)};
}
// Rounds to the nearest; channels must lie in 0…255.
HWY_INLINE Ints pack(const Bgra& c) {
    // Truncation is the one conversion that all instruction sets, the portable one too, do alike.
    const auto rounded = [](Floats v) { return hn::ConvertTo(ints, hn::Add(v, set(0.5f))); };
    const Ints low = hn::Or(rounded(c.b), hn::ShiftLeft<8>(rounded(c.g)));
    const Ints high = hn::Or(rounded(c.r), hn::ShiftLeft<8>(rounded(c.a)));
    return hn::Or(low, hn::ShiftLeft<16>(high));
}
HWY_INLINE Floats clamp255(Floats v) {
    return hn::Min(hn::Max(v, set(0)), set(255));
}

// `source` is premultiplied and may leave 0…255, as a colour written to an 8-bit target is clamped
// before it is blended.
HWY_INLINE Ints blendOver(const Bgra& source, Ints below) {
    const Bgra s{clamp255(source.b), clamp255(source.g), clamp255(source.r), clamp255(source.a)};
    const Floats keep = hn::Sub(set(1), hn::Mul(s.a, set(1.f / 255)));
    const Bgra d = unpack(below);
    // Light may have made a source brighter than its alpha.
    const auto over = [&](Floats from, Floats onto) {
        return hn::Min(hn::Add(from, hn::Mul(onto, keep)), set(255));
    };
    return pack({over(s.b, d.b), over(s.g, d.g), over(s.r, d.r), over(s.a, d.a)});
}

// For each lane the pixel at base + 4 · offset and its right neighbour. One plain load fetches
// both: the processor's own gather takes several times as long.
HWY_INLINE void loadPairs(const uint8_t* base, Ints offsets, Bgra& left, Bgra& right) {
    HWY_ALIGN int32_t at[HWY_MAX_BYTES / sizeof(int32_t)];
    HWY_ALIGN int32_t pairs[2 * HWY_MAX_BYTES / sizeof(int32_t)];
    hn::Store(offsets, ints, at);
    for (size_t lane = 0; lane < lanes(); ++lane)
        std::memcpy(pairs + 2 * lane, base + 4 * static_cast<ptrdiff_t>(at[lane]), 8);
    Ints leftPixels;
    Ints rightPixels;
    hn::LoadInterleaved2(ints, pairs, leftPixels, rightPixels);
    left = unpack(leftPixels);
    right = unpack(rightPixels);
}

// Bilinear, clamped to the edge; u and v in 0…1.
HWY_INLINE Bgra sample(const TextureView& texture, Floats u, Floats v) {
    const auto lastX = static_cast<float>(texture.width - 1);
    const auto lastY = static_cast<float>(texture.height - 1);
    const auto texel = [](Floats coordinate, int size, float last) {
        const Floats t = hn::Sub(hn::Mul(coordinate, set(static_cast<float>(size))), set(0.5f));
        return hn::Min(hn::Max(t, set(0)), set(last));
    };
    const Floats tx = texel(u, texture.width, lastX);
    const Floats ty = texel(v, texture.height, lastY);
    // Bounded as integers, too: lanes outside the pane may hold anything. The last texel is reached
    // as the right end of the last pair; a texture one texel wide has row padding to its right.
    const auto first = [](Floats t, int size) {
        const Ints last = hn::Set(ints, size > 2 ? size - 2 : 0);
        return hn::Min(hn::Max(hn::ConvertTo(ints, t), hn::Zero(ints)), last);
    };
    const Ints x = first(tx, texture.width);
    const Ints y = first(ty, texture.height);
    const Floats weightX = hn::Sub(tx, hn::ConvertTo(floats, x));
    const Floats weightY = hn::Sub(ty, hn::ConvertTo(floats, y));
    const Ints offset = hn::Add(hn::Mul(y, hn::Set(ints, texture.stridePixels)), x);
    const ptrdiff_t nextRow = texture.height > 1 ? texture.stridePixels * ptrdiff_t{4} : 0;
    Bgra p00, p10, p01, p11;
    loadPairs(texture.pixels, offset, p00, p10);
    loadPairs(texture.pixels + nextRow, offset, p01, p11);
    const auto lerp = [&](Floats a, Floats b, Floats c, Floats d) {
        return mix(mix(a, b, weightX), mix(c, d, weightX), weightY);
    };
    return {lerp(p00.b, p10.b, p01.b, p11.b), lerp(p00.g, p10.g, p01.g, p11.g),
            lerp(p00.r, p10.r, p01.r, p11.r), lerp(p00.a, p10.a, p01.a, p11.a)};
}

// Where a row of pixels meets a pane.
class PaneRow {
public:
    HWY_INLINE PaneRow(const PaneField& field, int y) : _f(field) {
        const float dy = static_cast<float>(y) + 0.5f - field.originY;
        _x = field.x[1] * dy + field.x[2];
        _y = field.y[1] * dy + field.y[2];
        _w = field.w[1] * dy + field.w[2];
    }

    struct Point {
        Floats x, y;     // pane coordinates, ±1 at the edges
        Floats perW;     // 1 / w
        Floats qx, qy;   // beyond the corner circles' centres
        Floats length;   // of the part of (qx, qy) above 0
        Floats distance; // short-side halves, negative inside
        Mask isInQuad;
    };
    HWY_INLINE Point at(size_t px) const {
        const Floats dx = hn::Iota(floats, static_cast<float>(px) + 0.5f - _f.originX);
        const Floats w = hn::Add(hn::Mul(dx, set(_f.w[0])), set(_w));
        Point p;
        p.perW = hn::Div(set(1), w);
        p.x = hn::Mul(hn::Add(hn::Mul(dx, set(_f.x[0])), set(_x)), p.perW);
        p.y = hn::Mul(hn::Add(hn::Mul(dx, set(_f.y[0])), set(_y)), p.perW);
        const Floats zero = hn::Zero(floats);
        const Floats absX = hn::Abs(p.x);
        const Floats absY = hn::Abs(p.y);
        p.qx = hn::Sub(hn::Mul(absX, set(_f.halfX)), set(_f.halfX - _f.radius));
        p.qy = hn::Sub(hn::Mul(absY, set(_f.halfY)), set(_f.halfY - _f.radius));
        const Floats mx = hn::Max(p.qx, zero);
        const Floats my = hn::Max(p.qy, zero);
        p.length = hn::Sqrt(hn::Add(hn::Mul(mx, mx), hn::Mul(my, my)));
        p.distance = hn::Sub(hn::Add(p.length, hn::Min(hn::Max(p.qx, p.qy), zero)), set(_f.radius));
        const Floats extent = set(_f.extent);
        p.isInQuad = hn::And(hn::Gt(w, zero), hn::And(hn::Le(absX, extent), hn::Le(absY, extent)));
        return p;
    }

    // How far the distance moves from this pixel to the next, summed over x and y: the analytic
    // derivative of what a GPU takes as the difference of two pixels.
    HWY_INLINE Floats edgeWidth(const Point& p) const {
        const Floats zero = hn::Zero(floats);
        const Mask isCorner = hn::And(hn::Gt(p.qx, zero), hn::Gt(p.qy, zero));
        const Floats flatX = hn::IfThenElseZero(hn::Gt(p.qx, p.qy), set(1));
        const Floats slopeX = hn::IfThenElse(isCorner, hn::Div(p.qx, p.length), flatX);
        const Floats slopeY =
            hn::IfThenElse(isCorner, hn::Div(p.qy, p.length), hn::Sub(set(1), flatX));
        const Floats gx = hn::Mul(hn::CopySign(slopeX, p.x), set(_f.halfX));
        const Floats gy = hn::Mul(hn::CopySign(slopeY, p.y), set(_f.halfY));
        const auto along = [&](int axis) {
            const Floats w = set(_f.w[axis]);
            const Floats x = hn::Sub(set(_f.x[axis]), hn::Mul(p.x, w));
            const Floats y = hn::Sub(set(_f.y[axis]), hn::Mul(p.y, w));
            return hn::Abs(hn::Mul(hn::Add(hn::Mul(gx, x), hn::Mul(gy, y)), p.perW));
        };
        return hn::Max(hn::Add(along(0), along(1)), set(1e-5f));
    }

    // 1 - smoothstep(-width, width, distance).
    static HWY_INLINE Floats insideMask(Floats distance, Floats width) {
        return hn::Sub(set(1), smooth(hn::Div(hn::Add(distance, width), hn::Add(width, width))));
    }

private:
    const PaneField& _f;
    float _x, _y, _w;
};

} // namespace lanternfly::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
