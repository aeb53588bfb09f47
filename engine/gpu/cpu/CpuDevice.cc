#include "gpu/cpu/CpuDevice.h"

#include <algorithm>
#include <cstring>

#include <libyuv.h>

namespace lanternfly {

namespace {

PixelBufferRef copied(const PixelBuffer& pixels, bool flipRows) {
    auto copy = PixelBuffer::create(pixels.width(), pixels.height());
    if (!copy) return nullptr;
    for (int y = 0; y < pixels.height(); ++y)
        std::memcpy(copy->row(y), pixels.row(flipRows ? pixels.height() - 1 - y : y),
                    static_cast<size_t>(pixels.width()) * 4);
    return copy;
}

PixelBufferRef halved(const PixelBuffer& pixels) {
    auto half =
        PixelBuffer::create(std::max(pixels.width() / 2, 1), std::max(pixels.height() / 2, 1));
    if (!half) return nullptr;
    libyuv::ARGBScale(pixels.data(), static_cast<int>(pixels.strideBytes()), pixels.width(),
                      pixels.height(), half->data(), static_cast<int>(half->strideBytes()),
                      half->width(), half->height(), libyuv::kFilterBox);
    return half;
}

} // namespace

CpuTexture::CpuTexture(std::shared_ptr<const Device> device, std::vector<PixelBufferRef> levels)
    : Texture(std::move(device), levels.front()->width(), levels.front()->height()),
      _levels(std::move(levels)) {}

std::shared_ptr<CpuDevice> CpuDevice::create() {
    return std::shared_ptr<CpuDevice>(new CpuDevice);
}

std::string CpuDevice::name() const {
    return "CPU";
}

TextureRef CpuDevice::makeTexture(const PixelBuffer& pixels, const TextureOptions& options) {
    if (pixels.format() != PixelFormat::bgra8) return nullptr;
    std::vector<PixelBufferRef> levels{copied(pixels, options.flipRows)};
    if (!levels.front()) return nullptr;
    while (options.prefilteredLevels && levels.back() &&
           std::min(levels.back()->width(), levels.back()->height()) >= 64)
        levels.push_back(halved(*levels.back()));
    if (!levels.back()) levels.pop_back();
    return std::make_shared<CpuTexture>(shared_from_this(), std::move(levels));
}

} // namespace lanternfly
