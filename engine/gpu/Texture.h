// A picture that a device can sample: premultiplied 8-bit BGRA.
// Threads: safe once made; a texture never changes size, and its pixels do not change after upload.
#pragma once

#include <memory>

namespace lanternfly {

class Device;

class Texture {
public:
    virtual ~Texture() = default;
    Texture(const Texture&) = delete;
    Texture& operator=(const Texture&) = delete;

    // In pixels, of the full-size level.
    int width() const { return _width; }
    int height() const { return _height; }
    // The device that made it; a renderer refuses textures of another device.
    const Device& device() const { return *_device; }

protected:
    Texture(std::shared_ptr<const Device> device, int width, int height)
        : _device(std::move(device)), _width(width), _height(height) {}

private:
    std::shared_ptr<const Device> _device;
    int _width;
    int _height;
};

using TextureRef = std::shared_ptr<Texture>;

} // namespace lanternfly
