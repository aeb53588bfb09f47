// Where textures live and frames are drawn.
// Threads: safe.
#pragma once

#include <memory>
#include <string>

#include "base/PixelBuffer.h"
#include "gpu/Texture.h"

namespace lanternfly {

struct TextureOptions {
    // Debug name, beginning with "lanternfly.".
    std::string label;
    // The first row of the texture becomes the last row of the pixels.
    bool flipRows = false;
    // Keep box-filtered half, quarter, … sizes beside the picture, so that a pane drawn far smaller
    // than its content is sampled from a level of about its own size and does not shimmer.
    bool prefilteredLevels = false;
};

class Device : public std::enable_shared_from_this<Device> {
public:
    enum class Kind { cpu, vulkan };

    virtual ~Device() = default;
    virtual Kind kind() const = 0;
    // As the driver gives it, for people to read.
    virtual std::string name() const = 0;

    // Copies 8-bit BGRA pixels into a new texture. Null when the format is another or memory is
    // short.
    virtual TextureRef makeTexture(const PixelBuffer& pixels, const TextureOptions& options) = 0;
};

using DeviceRef = std::shared_ptr<Device>;

} // namespace lanternfly
