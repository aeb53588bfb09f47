// Frames that show every pass, mode and edge case of compositing: described once, drawn by any
// device's compositor and by the reference.
// Threads: value.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "render/FrameCompositor.h"

namespace lanternfly::test {

struct ScenePicture {
    FrameSize size{512, 288};
    int alpha = 255;
    bool originTopLeft = true;
};

struct Scene {
    std::string name;
    std::string shows; // a line for the report
    FrameSize output{480, 270};
    std::optional<FrameSize> camera; // absent: of the output's size
    bool mirror = false;
    CompositionMode mode;
    float swapDarken = 0;
    CompositorInputs inputs; // without textures
    std::optional<ScenePicture> slide = ScenePicture{};
    std::optional<ScenePicture> annotation;
    std::optional<FrameSize> model;

    FrameRequest request() const;
    bool hasBlur() const;
};

std::vector<Scene> scenes();

PixelBufferRef cameraPicture(const Scene& scene);
// The scene's inputs with textures of the device.
CompositorInputs inputsOn(Device& device, const Scene& scene);
// Through a compositor of the device, as an application draws it. Null when that fails.
PixelBufferRef drawn(const DeviceRef& device, const Scene& scene);

// A shaded ball and ring with soft edges, premultiplied, clear around them.
PixelBufferRef modelPicture(int width, int height);
// A frame, a few words and an arrow, premultiplied, clear around them.
PixelBufferRef annotationPicture(int width, int height);

} // namespace lanternfly::test
