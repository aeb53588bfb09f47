// The typed text as the annotation layer of the frame: in the lower left, growing upward, white on
// a soft dark halo, so that it reads on any camera picture and leaves the presenter free.
// Threads: bound to the presentation's thread; painting happens there, never on the frame path.
#pragma once

#include <memory>
#include <string>

#include "gpu/Device.h"
#include "platform/TextPainter.h"
#include "render/CompositorInputs.h"

namespace lanternfly {

class TypedTextLayer {
public:
    TypedTextLayer(DeviceRef device, std::unique_ptr<TextPainter> painter, int frameWidth,
                   int frameHeight);

    // No texture without text.
    AnnotationInput paint(const std::string& text);

    static TextBox boxIn(int frameWidth, int frameHeight);
    static TextLook lookIn(int frameHeight);

private:
    const DeviceRef _device;
    const std::unique_ptr<TextPainter> _painter;
    const TextBox _box;
    const TextLook _look;
    const PixelBufferRef _picture; // of the frame's size: its texels meet the frame's pixels
};

} // namespace lanternfly
