// The device without a GPU: textures are pixel buffers.
// Threads: safe.
#pragma once

#include <vector>

#include "gpu/Device.h"

namespace lanternfly {

class CpuTexture final : public Texture {
public:
    CpuTexture(std::shared_ptr<const Device> device, std::vector<PixelBufferRef> levels);

    // Level 0 is the picture; each further level has half the size, rounded down, at least 1.
    int levelCount() const { return static_cast<int>(_levels.size()); }
    const PixelBuffer& level(int index) const { return *_levels[static_cast<size_t>(index)]; }

private:
    std::vector<PixelBufferRef> _levels;
};

class CpuDevice final : public Device {
public:
    static std::shared_ptr<CpuDevice> create();

    Kind kind() const override { return Kind::cpu; }
    std::string name() const override;
    TextureRef makeTexture(const PixelBuffer& pixels, const TextureOptions& options) override;

private:
    CpuDevice() = default;
};

} // namespace lanternfly
