// Ink over pixels in whole numbers, eight pixels at a time. Included once for every instruction
// set.
//
// A channel is held in 16 bits with seven of them behind the point; the result is within a fiftieth
// of a step of the exact one before it is rounded.
#if defined(LANTERNFLY_RENDER_CPU_INK_BLEND_INL_H_) == defined(HWY_TARGET_TOGGLE)
#ifdef LANTERNFLY_RENDER_CPU_INK_BLEND_INL_H_
#undef LANTERNFLY_RENDER_CPU_INK_BLEND_INL_H_
#else
#define LANTERNFLY_RENDER_CPU_INK_BLEND_INL_H_
#endif

#include <cstdint>

#include <hwy/highway.h>

#include "base/Vectors.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly::HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using InkTag = hn::CappedTag<float, 8>;
using InkPixelTag = hn::RebindToSigned<InkTag>;
using InkChannelTag = hn::Repartition<int16_t, InkPixelTag>;
using InkFloats = hn::Vec<InkTag>;
using InkPixels = hn::Vec<InkPixelTag>;
// Every other channel of the pixels: blue and red, or green and alpha.
using InkChannels = hn::Vec<InkChannelTag>;

inline constexpr InkTag inkFloats;
inline constexpr InkPixelTag inkPixels;
inline constexpr InkChannelTag inkChannels;
inline constexpr int inkChannelBits = 7;
inline constexpr float inkOpaque = 32767; // an opacity of 1

HWY_INLINE int inkLanes() {
    return static_cast<int>(hn::Lanes(inkFloats));
}
HWY_INLINE InkPixels loadInkPixels(const uint8_t* row, int x) {
    return hn::LoadU(inkPixels, reinterpret_cast<const int32_t*>(row) + x);
}
HWY_INLINE void storeInkPixels(InkPixels pixels, uint8_t* row, int x) {
    hn::StoreU(pixels, inkPixels, reinterpret_cast<int32_t*>(row) + x);
}
HWY_INLINE InkChannels blueAndRed(InkPixels pixels) {
    const InkChannels low = hn::And(hn::BitCast(inkChannels, pixels), hn::Set(inkChannels, 0xff));
    return hn::ShiftLeft<inkChannelBits>(low);
}
HWY_INLINE InkChannels greenAndAlpha(InkPixels pixels) {
    return hn::And(hn::ShiftRight<8 - inkChannelBits>(hn::BitCast(inkChannels, pixels)),
                   hn::Set(inkChannels, 0xff << inkChannelBits));
}
HWY_INLINE InkPixels rounded(InkChannels blueAndRed, InkChannels greenAndAlpha) {
    const InkChannels half = hn::Set(inkChannels, 1 << (inkChannelBits - 1));
    const InkChannels low = hn::ShiftRight<inkChannelBits>(hn::Add(blueAndRed, half));
    const InkChannels high =
        hn::And(hn::ShiftLeft<8 - inkChannelBits>(hn::Add(greenAndAlpha, half)),
                hn::Set(inkChannels, static_cast<int16_t>(0xff00)));
    return hn::BitCast(inkPixels, hn::Or(low, high));
}
// A number below 32768 for each pixel, for its channels.
HWY_INLINE InkChannels forChannels(InkPixels numbers) {
    return hn::BitCast(inkChannels, hn::Or(numbers, hn::ShiftLeft<16>(numbers)));
}

// An opacity of 0 … inkOpaque for each pixel, for its channels.
HWY_INLINE InkChannels inkOpacity(InkFloats opacity) {
    // Next to 2²³ the last bit of a number is worth 1.
    const InkPixels rounded =
        hn::BitCast(inkPixels, hn::Add(opacity, hn::Set(inkFloats, 8388608.f)));
    return forChannels(hn::And(rounded, hn::Set(inkPixels, 0xffff)));
}

// Ink of one colour, opaque where its opacity is inkOpaque.
struct InkColour {
    InkChannels blueAndRed, greenAndAlpha;

    // Straight, 0…1; its alpha is left to the opacity.
    HWY_INLINE explicit InkColour(const float4& color) {
        const auto channel = [](float value) {
            return static_cast<int32_t>(value * (255 << inkChannelBits) + 0.5f);
        };
        const auto both = [](int32_t low, int32_t high) {
            return hn::BitCast(inkChannels, hn::Set(inkPixels, low | high << 16));
        };
        blueAndRed = both(channel(color.b), channel(color.r));
        greenAndAlpha = both(channel(color.g), channel(1));
    }
    HWY_INLINE InkPixels over(InkPixels below, InkChannels opacity) const {
        const auto blended = [opacity](InkChannels to, InkChannels from) {
            return hn::Add(from, hn::MulFixedPoint15(hn::Sub(to, from), opacity));
        };
        return rounded(blended(blueAndRed, HWY_NAMESPACE::blueAndRed(below)),
                       blended(greenAndAlpha, HWY_NAMESPACE::greenAndAlpha(below)));
    }
};

// Premultiplied pixels over others.
HWY_INLINE InkPixels inkOver(InkPixels source, InkPixels below) {
    const hn::RebindToUnsigned<InkPixelTag> bits;
    const InkPixels alpha = hn::BitCast(inkPixels, hn::ShiftRight<24>(hn::BitCast(bits, source)));
    const InkPixels clear = hn::Sub(hn::Set(inkPixels, 255), alpha);
    // clear / 255 of 32767
    const InkChannels keep =
        forChannels(hn::Add(hn::ShiftLeft<7>(clear), hn::ShiftRight<1>(clear)));
    const auto blended = [keep](InkChannels from, InkChannels onto) {
        // The roundings of a premultiplied channel and of its alpha may add up to more than white.
        return hn::Min(hn::Add(from, hn::MulFixedPoint15(onto, keep)),
                       hn::Set(inkChannels, 255 << inkChannelBits));
    };
    return rounded(blended(blueAndRed(source), blueAndRed(below)),
                   blended(greenAndAlpha(source), greenAndAlpha(below)));
}

} // namespace lanternfly::HWY_NAMESPACE
HWY_AFTER_NAMESPACE();

#endif
