// A picture that a device can sample: premultiplied 8-bit BGRA.
// Threads: safe once made; a texture never changes size, and its pixels do not change after upload.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <utility>

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
    // No other texture of this process has had or will have it: what is known of a texture may be
    // kept under it.
    uint64_t serial() const { return _serial; }
    // The device that made it; a renderer refuses textures of another device.
    const Device& device() const { return *_device; }

protected:
    Texture(std::shared_ptr<const Device> device, int width, int height)
        : _device(std::move(device)), _width(width), _height(height), _serial(++lastSerial) {}

private:
    std::shared_ptr<const Device> _device;
    int _width;
    int _height;
    uint64_t _serial; // from 1

    static inline std::atomic<uint64_t> lastSerial{0};
};

using TextureRef = std::shared_ptr<Texture>;

} // namespace lanternfly
