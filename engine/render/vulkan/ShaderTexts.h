// The GLSL sources of the renderer, by the names of their functions.
// Threads: safe.
#pragma once

#include <map>
#include <string>

namespace lanternfly {

using ShaderTexts = std::map<std::string, std::string>;

// Those of render/shaders; made by the build.
const ShaderTexts& embeddedShaders();

} // namespace lanternfly
