// The renderer's shaders, from source text to the device's intermediate language.
// Threads: safe.
#pragma once

#include <cstdint>
#include <map>
#include <stdexcept>
#include <string>
#include <vector>

#include "render/vulkan/ShaderTexts.h"

namespace lanternfly {

class ShaderError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// By name. A name that ends in "_vs" is a vertex function, one that ends in "_fs" a fragment
// function.
using CompiledShaders = std::map<std::string, std::vector<uint32_t>>;

// Throws ShaderError, with what the compiler said, when a required function is missing or does not
// compile; optional ones (spatial_fs, twoHandDots_fs) are then absent from the result.
CompiledShaders compileShaders(const ShaderTexts& texts);

} // namespace lanternfly
