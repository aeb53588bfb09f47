// Frames that every renderer has to draw alike.
// Threads: value.
#pragma once

#include <string>
#include <vector>

#include "render/CompositorInputs.h"
#include "render/FramePlan.h"

namespace lanternfly::test {

struct FrameScene {
    std::string name;
    CompositorInputs inputs; // without textures
    bool mirror = false;
    bool originTopLeft = true;
    FrameSize output{640, 360};
    FrameSize camera{640, 360};
    FrameSize slide{1024, 576};
    int slideAlpha = 255;
};

inline std::ostream& operator<<(std::ostream& out, const FrameScene& scene) {
    return out << scene.name;
}

std::vector<FrameScene> frameScenes();

} // namespace lanternfly::test
