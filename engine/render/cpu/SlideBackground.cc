#include "render/cpu/SlideBackground.h"

#include <algorithm>
#include <cstring>

#include "render/cpu/TextureView.h"

#undef HWY_TARGET_INCLUDE
#define HWY_TARGET_INCLUDE "render/cpu/SlideBackground.cc"
#include <hwy/foreach_target.h>

#include <hwy/highway.h>

#include "render/cpu/Pixels-inl.h"

HWY_BEFORE_NAMESPACE();
namespace lanternfly {
namespace {
namespace HWY_NAMESPACE {

using namespace lanternfly::HWY_NAMESPACE; // NOLINT

void placedRows(const TextureView& texture, const Quad& quad, const PixelRect& rect,
                PixelBuffer& output) {
    const size_t step = lanes();
    const Ints black = hn::Set(ints, static_cast<int32_t>(0xff000000u));
    // From clip space to 0…1 over the quad.
    const float perClipX = 0.5f / quad.vertices[4];
    const float perClipY = 0.5f / quad.vertices[13];
    const float clipPerPixelX = 2 / static_cast<float>(output.width());
    const float clipPerPixelY = 2 / static_cast<float>(output.height());
    for (int y = 0; y < output.height(); ++y) {
        const bool isCovered = y >= rect.y0 && y < rect.y1;
        const float down = ((static_cast<float>(y) + 0.5f) * clipPerPixelY - 1) * perClipY + 0.5f;
        const Floats v = clamp01(set(quad.isVDownward() ? down : 1 - down));
        uint8_t* out = output.row(y);
        for (size_t x = 0; x < static_cast<size_t>(output.width()); x += step) {
            if (!isCovered || x + step <= static_cast<size_t>(rect.x0) ||
                x >= static_cast<size_t>(rect.x1)) {
                storePixels(black, out, x);
                continue;
            }
            const Floats centres = hn::Iota(floats, static_cast<float>(x) + 0.5f);
            const Floats clip = hn::Sub(hn::Mul(centres, set(clipPerPixelX)), set(1));
            const Floats u = hn::Add(hn::Mul(clip, set(perClipX)), set(0.5f));
            const Bgra c = sample(texture, clamp01(u), v);
            const Floats alpha = hn::Mul(c.a, set(1.f / 255));
            const Ints placed =
                pack({hn::Mul(c.b, alpha), hn::Mul(c.g, alpha), hn::Mul(c.r, alpha), c.a});
            const Mask isInside = hn::And(hn::Gt(centres, set(static_cast<float>(rect.x0))),
                                          hn::Lt(centres, set(static_cast<float>(rect.x1))));
            storePixels(hn::IfThenElse(hn::RebindMask(ints, isInside), placed, black), out, x);
        }
    }
}

} // namespace HWY_NAMESPACE
} // namespace
} // namespace lanternfly
HWY_AFTER_NAMESPACE();

#if HWY_ONCE
namespace lanternfly {
namespace {
HWY_EXPORT(placedRows);
} // namespace

const PixelBuffer* SlideBackground::prepare(const BackgroundDraw& draw, const CpuTexture& slide,
                                            FrameSize frame) {
    const Key key{slide.serial(), draw.quad, draw.blurSigma};
    if (_key == key) return _picture.get();
    _key.reset();
    if (!_picture) _picture = PixelBuffer::create(frame.width, frame.height);
    const PixelBuffer* level = &slide.level(
        prefilteredLevel({slide.width(), slide.height()}, slide.levelCount(), draw.drawnSizePX));
    if (draw.blurSigma)
        level = blurred(*level, *draw.blurSigma * float2(level->width(), level->height()) /
                                    float2(slide.width(), slide.height()));
    if (!_picture || !level) return nullptr;
    HWY_DYNAMIC_DISPATCH(placedRows)(TextureView(*level), draw.quad, draw.rect, *_picture);
    _key = key;
    return _picture.get();
}

const PixelBuffer* SlideBackground::blurred(const PixelBuffer& level, float2 sigma) {
    const int width = level.width();
    const int height = level.height();
    if (!_blurred || _blurred->width() != width || _blurred->height() != height)
        _blurred = PixelBuffer::create(width, height);
    if (!_blurred) return nullptr;
    _blur.prepare(level, {0, 0, width, height}, std::max(sigma.x, GaussianBlur::minSigma),
                  std::max(sigma.y, GaussianBlur::minSigma));
    for (int y = 0; y < height; ++y)
        std::memcpy(_blurred->row(y), _blur.row(y), static_cast<size_t>(width) * 4);
    return _blurred.get();
}

} // namespace lanternfly
#endif
