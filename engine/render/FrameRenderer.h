// Draws planned frames on one kind of device.
// Threads: bound to the thread that composites.
#pragma once

#include <memory>
#include <string>

#include "base/PixelBuffer.h"
#include "gpu/Device.h"
#include "render/FramePlan.h"

namespace lanternfly {

class FrameRenderer {
public:
    struct Picture {
        const PixelBuffer* camera = nullptr; // opaque BGRA of any size
        const Texture* slide = nullptr;      // set when the plan draws it
        PixelBuffer* output = nullptr;       // BGRA of the size that the renderer was made for
        const Texture* spatial = nullptr;    // set when the plan draws it
        const Texture* annotation = nullptr; // set when the plan draws it
    };

    virtual ~FrameRenderer() = default;
    // Empty on success, else what the device said; the output then holds an undefined picture.
    virtual std::string draw(const FramePlan& plan, const Picture& picture) = 0;
};

// Null when the device has no renderer or cannot make one.
std::unique_ptr<FrameRenderer> makeFrameRenderer(const DeviceRef& device, FrameSize output);

} // namespace lanternfly
