#include "platform/linux/camera/StreamingCamera.h"

#include <algorithm>

namespace lanternfly {
namespace {

std::optional<size_t> firstOfSize(const std::vector<CameraFormat>& formats, int width, int height) {
    const auto found = std::ranges::find_if(formats, [&](const CameraFormat& format) {
        return format.width == width && format.height == height;
    });
    if (found == formats.end()) return std::nullopt;
    return static_cast<size_t>(found - formats.begin());
}

std::optional<size_t> firstOfLargest(const std::vector<CameraFormat>& formats) {
    const auto found = std::ranges::max_element(formats, {}, [](const CameraFormat& format) {
        return int64_t{format.width} * format.height;
    });
    if (found == formats.end()) return std::nullopt;
    return static_cast<size_t>(found - formats.begin());
}

} // namespace

class StreamingCamera::Lock final : public CameraConfigurationLock {
public:
    explicit Lock(StreamingCameraRef camera) : _camera(std::move(camera)) {}
    void setActiveFormat(size_t index) override {
        _camera->_configuration.set({index, MediaTime::invalid()});
    }
    void setFrameDurations(MediaTime minimum, MediaTime) override {
        _camera->_configuration.withLock(
            [&](CameraConfiguration& all) { all.frameDuration = minimum; });
    }

private:
    const StreamingCameraRef _camera;
};

std::unique_ptr<CameraConfigurationLock> StreamingCamera::lockForConfiguration() {
    return std::make_unique<Lock>(shared_from_this());
}

std::optional<size_t> StreamingCamera::formatFor(CameraPreset preset) const {
    switch (preset) {
    case CameraPreset::high:
        return firstOfLargest(formats());
    case CameraPreset::hd1280x720:
        return firstOfSize(formats(), 1280, 720);
    case CameraPreset::hd1920x1080:
        return firstOfSize(formats(), 1920, 1080);
    case CameraPreset::inputPriority:
        return std::nullopt;
    }
    return std::nullopt;
}

} // namespace lanternfly
