// An open loopback device: frames that are written to it are what its readers see.
// Threads: bound.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

#include "platform/linux/output/FrameEncoder.h"
#include "platform/linux/v4l2/NodeFacts.h"
#include "platform/linux/v4l2/V4l2Device.h"

namespace lanternfly::v4l2 {

class V4l2Output {
public:
    // Opens and claims the device. It may insist on another size or format than the one asked for.
    // Throws CameraError with a sentence for the user.
    V4l2Output(const std::filesystem::path& node, int width, int height, int framesPerSecond);

    const FrameLayout& layout() const { return _encoder->layout(); }
    // A BGRA frame of any size. False when the device is not ready for it. Throws CameraError.
    bool write(const PixelBuffer& frame);

private:
    void require(int code) const;

    const std::string _name;
    V4l2Device _device;
    std::optional<FrameEncoder> _encoder;
    std::vector<uint8_t> _bytes;
};

// The node to use when none is named: a loopback device that bears this label, else the first one.
// Throws CameraError, which says how to get one.
std::filesystem::path loopbackNode(const std::vector<NodeFacts>& outputs, const std::string& label);

} // namespace lanternfly::v4l2
