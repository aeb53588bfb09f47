#include "render/cpu/ScalePass.h"

#include <algorithm>
#include <cstring>

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/ScalePass.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

namespace hn = hwy::HWY_NAMESPACE;

using ChannelTag = hn::CappedTag<uint16_t, 4 * vectorPixels>;
constexpr ChannelTag channels; // four of each pixel
constexpr hn::RebindToSigned<ChannelTag> signedChannels;
constexpr hn::Rebind<uint8_t, ChannelTag> bytes;
constexpr hn::Repartition<uint32_t, decltype(bytes)> pixels;

// Between which two neighbouring texels a pixel lies, and the second one's share.
struct TexelPair {
    int first;
    float share;
};

HWY_INLINE TexelPair texelPair(float coordinate, int size) {
    const float last = static_cast<float>(size - 1);
    const float t = std::clamp(coordinate * static_cast<float>(size) - 0.5f, 0.0f, last);
    // The last texel is reached as the right end of the last pair; a texture one texel wide has row
    // padding to its right.
    const int first = std::min(static_cast<int>(t), std::max(size - 2, 0));
    return {first, t - static_cast<float>(first)};
}

HWY_INLINE float centre(int pixel, int count) {
    return (static_cast<float>(pixel) + 0.5f) / static_cast<float>(count);
}

constexpr size_t columns = 256; // of a tile: what is kept of it stays in the nearest cache

// Some columns of the output. Rows of the picture are stretched to their width before two of them
// are mixed: most rows serve several rows of the output.
class Tile {
public:
    Tile(const TextureView& picture, bool mirror, size_t x0, size_t width, int outputWidth)
        : _picture(picture), _width(width) {
        for (size_t x = 0; x < whole(width); ++x) {
            const float u = centre(static_cast<int>(x0 + std::min(x, width - 1)), outputWidth);
            const auto [first, share] = texelPair(mirror ? 1 - u : u, picture.width);
            _first[x] = first;
            std::fill_n(_share + 4 * x, 4, static_cast<uint16_t>(share * 256 + 0.5f));
        }
    }

    // Of rows that rise from call to call.
    void draw(TexelPair rows, uint8_t* output) {
        const int second = std::min(rows.first + 1, _picture.height - 1);
        const int16_t* upper = stretched(rows.first, second);
        const int16_t* lower = stretched(second, rows.first);
        const auto share = hn::Set(
            signedChannels, static_cast<int16_t>(std::min(rows.share * 32768 + 0.5f, 32767.0f)));
        for (size_t i = 0; i < 4 * whole(_width); i += hn::Lanes(channels)) {
            const auto a = hn::Load(signedChannels, upper + i);
            const auto b = hn::Load(signedChannels, lower + i);
            const auto mixed = hn::Add(a, hn::MulFixedPoint15(hn::Sub(b, a), share));
            const auto rounded =
                hn::ShiftRight<7>(hn::Add(mixed, hn::Set(signedChannels, int16_t{64})));
            hn::StoreU(hn::DemoteTo(bytes, rounded), bytes, output + i);
        }
    }

private:
    struct Stretched {
        int row = -1;
        HWY_ALIGN int16_t values[4 * columns]; // 0…255 · 128
    };

    // Whole vectors; rows end with padding.
    static size_t whole(size_t width) {
        const size_t step = hn::Lanes(pixels);
        return (width + step - 1) / step * step;
    }

    // Row `row`, beside row `other`.
    const int16_t* stretched(int row, int other) {
        for (const Stretched& kept : _kept)
            if (kept.row == row) return kept.values;
        Stretched& made = _kept[_kept[0].row == other ? 1 : 0];
        made.row = row;
        const uint8_t* from = _picture.pixels + ptrdiff_t{4} * row * _picture.stridePixels;
        const size_t step = hn::Lanes(pixels);
        HWY_ALIGN uint32_t pairs[2 * vectorPixels];
        for (size_t x = 0; x < whole(_width); x += step) {
            // One plain load fetches both: the processor's own gather takes several times as long.
            for (size_t lane = 0; lane < step; ++lane)
                std::memcpy(pairs + 2 * lane, from + ptrdiff_t{4} * _first[x + lane], 8);
            auto left = hn::Zero(pixels);
            auto right = hn::Zero(pixels);
            hn::LoadInterleaved2(pixels, pairs, left, right);
            const auto share = hn::Load(channels, _share + 4 * x);
            const auto a = hn::PromoteTo(channels, hn::BitCast(bytes, left));
            const auto b = hn::PromoteTo(channels, hn::BitCast(bytes, right));
            const auto keep = hn::Sub(hn::Set(channels, uint16_t{256}), share);
            const auto sum = hn::Add(hn::Mul(a, keep), hn::Mul(b, share));
            hn::Store(hn::BitCast(signedChannels, hn::ShiftRight<1>(sum)), signedChannels,
                      made.values + 4 * x);
        }
        return made.values;
    }

    const TextureView& _picture;
    const size_t _width;
    HWY_ALIGN uint16_t _share[4 * columns]; // of 256, for each channel
    int _first[columns];
    Stretched _kept[2];
};

void scaledRows(const TextureView& picture, bool mirror, Rows rows, PixelBuffer& output) {
    const auto width = static_cast<size_t>(output.width());
    for (size_t x = 0; x < width; x += columns) {
        Tile tile(picture, mirror, x, std::min(columns, width - x), output.width());
        for (int y = rows.y0; y < rows.y1; ++y)
            tile.draw(texelPair(centre(y, output.height()), picture.height), output.row(y) + 4 * x);
    }
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {
HWY_EXPORT(scaledRows);
} // namespace

void drawScaled(const TextureView& picture, bool mirror, Rows rows, PixelBuffer& output) {
    HWY_DYNAMIC_DISPATCH(scaledRows)(picture, mirror, rows, output);
}

} // namespace lanternfly
#endif
