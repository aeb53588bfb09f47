#include "gpu/cpu/CpuDevice.h"

#include <cstring>

#include "gpu/PrefilteredLevels.h"

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
    if (options.prefilteredLevels) {
        auto smaller = prefilteredLevels(*levels.front());
        levels.insert(levels.end(), smaller.begin(), smaller.end());
    }
    return std::make_shared<CpuTexture>(shared_from_this(), std::move(levels));
}

} // namespace lanternfly
