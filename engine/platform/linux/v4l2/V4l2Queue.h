// An open camera with its mapped buffers: frames in, buffers back.
// Threads: bound.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "base/MediaTime.h"
#include "platform/linux/camera/FrameDecoder.h"
#include "platform/linux/v4l2/CameraModes.h"
#include "platform/linux/v4l2/V4l2Device.h"

namespace lanternfly::v4l2 {

// Driver time stamps and sequence numbers are not read: some stand still, some lie in the future.
class V4l2Queue {
public:
    struct Frame {
        uint32_t index;
        std::span<const uint8_t> bytes; // until the buffer is given back
        bool isDamaged;                 // the driver says so
    };

    // `name` is the camera's, for errors. Throws CameraError.
    V4l2Queue(const std::filesystem::path& node, std::string name);
    ~V4l2Queue();
    V4l2Queue(const V4l2Queue&) = delete;
    V4l2Queue& operator=(const V4l2Queue&) = delete;

    // Sets the mode and claims the camera: other programs find it busy. Drivers may choose another
    // size or rate; the layout says which. Not while it streams. Throws CameraError.
    FrameLayout configure(const CameraMode& mode, MediaTime frameDuration);
    // Gives all buffers to the driver. Throws CameraError.
    void streamOn();
    void streamOff();
    // Does not wait. Nothing when there is no frame yet. Throws CameraError.
    std::optional<Frame> dequeue();
    void enqueue(uint32_t index);

    // Readable when there is a frame.
    int descriptor() const { return _device.descriptor(); }

private:
    struct Mapping {
        void* start = nullptr;
        size_t bytes = 0;
    };
    void require(int code) const;
    void requestBuffers(uint32_t count);
    void releaseBuffers();

    std::string _name;
    V4l2Device _device;
    std::vector<Mapping> _mappings;
    bool _ownsBuffers = false;
    bool _isStreaming = false;
};

} // namespace lanternfly::v4l2
