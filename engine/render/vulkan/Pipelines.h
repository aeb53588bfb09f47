// Every pipeline of the frame, on one layout: two pictures and one block of uniforms.
// Threads: value once made. The context must outlive it.
#pragma once

#include "base/Vectors.h"
#include "gpu/vulkan/VulkanContext.h"
#include "render/vulkan/CompiledShaders.h"

namespace lanternfly {

// As common.glsl declares it.
struct PushedUniforms {
    float4x4 mvp{1};
    float4 params{0};
    float4 params2{0};
    float4 params3{0};
};
static_assert(sizeof(PushedUniforms) <= 128); // what every device takes

inline constexpr VkFormat pictureFormat = VK_FORMAT_B8G8R8A8_UNORM;
// Of blurred pictures: a small one spreads over many pixels, where 8 bits would show as bands.
inline constexpr VkFormat blurFormat = VK_FORMAT_R16G16B16A16_SFLOAT;

struct Pipelines {
    // Throws VulkanError.
    Pipelines(const VulkanContext& context, const CompiledShaders& shaders, VkPipelineCache cache);

    PipelineLayoutHandle layout;
    PipelineHandle camera; // the only one of the frame's that does not blend
    PipelineHandle overlay;
    PipelineHandle backdrop;
    PipelineHandle pinchIndicator;
    PipelineHandle stroke;
    PipelineHandle annotation;
    PipelineHandle spatial;     // may be absent
    PipelineHandle twoHandDots; // may be absent
    PipelineHandle reduce;      // onto blurFormat, as is
    PipelineHandle gauss;
};

} // namespace lanternfly
