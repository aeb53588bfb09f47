#include "render/vulkan/Pipelines.h"

#include <array>

namespace lanternfly {

namespace {

class PipelineMaker {
public:
    PipelineMaker(const VulkanContext& context, const CompiledShaders& shaders,
                  VkPipelineLayout layout, VkPipelineCache cache)
        : _context(context), _layout(layout), _cache(cache) {
        for (const auto& [name, words] : shaders) {
            VkShaderModuleCreateInfo info{};
            info.sType = VK_STRUCTURE_TYPE_SHADER_MODULE_CREATE_INFO;
            info.codeSize = words.size() * sizeof(uint32_t);
            info.pCode = words.data();
            _modules[name] =
                context.make<ShaderModuleHandle>(vkCreateShaderModule, info, name.c_str());
        }
    }

    PipelineHandle make(const char* label, const char* vertex, const char* fragment,
                        VkFormat format, bool blends) const;
    // Empty where make() would throw.
    PipelineHandle makeOptional(const char* label, const char* vertex, const char* fragment) const {
        if (_modules.count(vertex) == 0 || _modules.count(fragment) == 0) return {};
        try {
            return make(label, vertex, fragment, pictureFormat, true);
        } catch (const VulkanError&) {
            return {};
        }
    }

private:
    VkPipelineShaderStageCreateInfo stage(VkShaderStageFlagBits kind, const char* name) const {
        VkPipelineShaderStageCreateInfo info{};
        info.sType = VK_STRUCTURE_TYPE_PIPELINE_SHADER_STAGE_CREATE_INFO;
        info.stage = kind;
        info.module = _modules.at(name).get();
        info.pName = "main";
        return info;
    }

    const VulkanContext& _context;
    const VkPipelineLayout _layout;
    const VkPipelineCache _cache;
    std::map<std::string, ShaderModuleHandle> _modules;
};

// Quads are x, y, u, v; stroke vertices x, y and four more that the fragment function reads.
struct VertexLayout {
    VkVertexInputBindingDescription binding{};
    std::array<VkVertexInputAttributeDescription, 2> attributes{};
    uint32_t attributeCount = 1;

    explicit VertexLayout(bool isStroke) {
        binding.stride = (isStroke ? 6 : 4) * sizeof(float);
        attributes[0] = {0, 0, isStroke ? VK_FORMAT_R32G32_SFLOAT : VK_FORMAT_R32G32B32A32_SFLOAT,
                         0};
        attributes[1] = {1, 0, VK_FORMAT_R32G32B32A32_SFLOAT, 2 * sizeof(float)};
        attributeCount = isStroke ? 2 : 1;
    }
};

PipelineHandle PipelineMaker::make(const char* label, const char* vertex, const char* fragment,
                                   VkFormat format, bool blends) const {
    const std::array stages{stage(VK_SHADER_STAGE_VERTEX_BIT, vertex),
                            stage(VK_SHADER_STAGE_FRAGMENT_BIT, fragment)};
    const VertexLayout layout(std::string(vertex) == "stroke_vs");
    VkPipelineVertexInputStateCreateInfo vertices{};
    vertices.sType = VK_STRUCTURE_TYPE_PIPELINE_VERTEX_INPUT_STATE_CREATE_INFO;
    vertices.vertexBindingDescriptionCount = 1;
    vertices.pVertexBindingDescriptions = &layout.binding;
    vertices.vertexAttributeDescriptionCount = layout.attributeCount;
    vertices.pVertexAttributeDescriptions = layout.attributes.data();
    VkPipelineInputAssemblyStateCreateInfo assembly{};
    assembly.sType = VK_STRUCTURE_TYPE_PIPELINE_INPUT_ASSEMBLY_STATE_CREATE_INFO;
    assembly.topology = VK_PRIMITIVE_TOPOLOGY_TRIANGLE_STRIP;
    VkPipelineViewportStateCreateInfo viewport{};
    viewport.sType = VK_STRUCTURE_TYPE_PIPELINE_VIEWPORT_STATE_CREATE_INFO;
    viewport.viewportCount = viewport.scissorCount = 1;
    VkPipelineRasterizationStateCreateInfo rasterization{};
    rasterization.sType = VK_STRUCTURE_TYPE_PIPELINE_RASTERIZATION_STATE_CREATE_INFO;
    rasterization.lineWidth = 1;
    VkPipelineMultisampleStateCreateInfo multisample{};
    multisample.sType = VK_STRUCTURE_TYPE_PIPELINE_MULTISAMPLE_STATE_CREATE_INFO;
    multisample.rasterizationSamples = VK_SAMPLE_COUNT_1_BIT;
    VkPipelineColorBlendAttachmentState attachment{};
    attachment.blendEnable = blends;
    attachment.srcColorBlendFactor = attachment.srcAlphaBlendFactor = VK_BLEND_FACTOR_ONE;
    attachment.dstColorBlendFactor = attachment.dstAlphaBlendFactor =
        VK_BLEND_FACTOR_ONE_MINUS_SRC_ALPHA;
    attachment.colorWriteMask = VK_COLOR_COMPONENT_R_BIT | VK_COLOR_COMPONENT_G_BIT |
                                VK_COLOR_COMPONENT_B_BIT | VK_COLOR_COMPONENT_A_BIT;
    VkPipelineColorBlendStateCreateInfo blend{};
    blend.sType = VK_STRUCTURE_TYPE_PIPELINE_COLOR_BLEND_STATE_CREATE_INFO;
    blend.attachmentCount = 1;
    blend.pAttachments = &attachment;
    const std::array dynamicStates{VK_DYNAMIC_STATE_VIEWPORT, VK_DYNAMIC_STATE_SCISSOR};
    VkPipelineDynamicStateCreateInfo dynamic{};
    dynamic.sType = VK_STRUCTURE_TYPE_PIPELINE_DYNAMIC_STATE_CREATE_INFO;
    dynamic.dynamicStateCount = dynamicStates.size();
    dynamic.pDynamicStates = dynamicStates.data();
    VkPipelineRenderingCreateInfo rendering{};
    rendering.sType = VK_STRUCTURE_TYPE_PIPELINE_RENDERING_CREATE_INFO;
    rendering.colorAttachmentCount = 1;
    rendering.pColorAttachmentFormats = &format;

    VkGraphicsPipelineCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_GRAPHICS_PIPELINE_CREATE_INFO;
    info.pNext = &rendering;
    info.stageCount = stages.size();
    info.pStages = stages.data();
    info.pVertexInputState = &vertices;
    info.pInputAssemblyState = &assembly;
    info.pViewportState = &viewport;
    info.pRasterizationState = &rasterization;
    info.pMultisampleState = &multisample;
    info.pColorBlendState = &blend;
    info.pDynamicState = &dynamic;
    info.layout = _layout;
    const auto create = [this](VkDevice device, const VkGraphicsPipelineCreateInfo* wanted,
                               const VkAllocationCallbacks* callbacks, VkPipeline* pipeline) {
        return vkCreateGraphicsPipelines(device, _cache, 1, wanted, callbacks, pipeline);
    };
    return _context.make<PipelineHandle>(create, info, label);
}

PipelineLayoutHandle makeLayout(const VulkanContext& context) {
    const std::array sets{context.pictureLayout(), context.pictureLayout()};
    const VkPushConstantRange uniforms{VK_SHADER_STAGE_VERTEX_BIT | VK_SHADER_STAGE_FRAGMENT_BIT, 0,
                                       sizeof(PushedUniforms)};
    VkPipelineLayoutCreateInfo info{};
    info.sType = VK_STRUCTURE_TYPE_PIPELINE_LAYOUT_CREATE_INFO;
    info.setLayoutCount = sets.size();
    info.pSetLayouts = sets.data();
    info.pushConstantRangeCount = 1;
    info.pPushConstantRanges = &uniforms;
    return context.make<PipelineLayoutHandle>(vkCreatePipelineLayout, info,
                                              "lanternfly.compositor.layout");
}

} // namespace

Pipelines::Pipelines(const VulkanContext& context, const CompiledShaders& shaders,
                     VkPipelineCache cache)
    : layout(makeLayout(context)) {
    const PipelineMaker maker(context, shaders, layout.get(), cache);
    camera =
        maker.make("lanternfly.compositor.camera", "quad_vs", "textured_fs", pictureFormat, false);
    overlay =
        maker.make("lanternfly.compositor.overlay", "slide_vs", "slide_fs", pictureFormat, true);
    backdrop = maker.make("lanternfly.compositor.backdrop", "slide_vs", "backdrop_fs",
                          pictureFormat, true);
    pinchIndicator = maker.make("lanternfly.compositor.pinchIndicator", "slide_vs", "pinchBar_fs",
                                pictureFormat, true);
    stroke =
        maker.make("lanternfly.compositor.stroke", "stroke_vs", "stroke_fs", pictureFormat, true);
    annotation = maker.make("lanternfly.compositor.annotation", "quad_vs", "textured_fs",
                            pictureFormat, true);
    reduce = maker.make("lanternfly.blur.reduce", "quad_vs", "reduce_fs", blurFormat, false);
    gauss = maker.make("lanternfly.blur.gauss", "quad_vs", "gauss_fs", blurFormat, false);
    spatial = maker.makeOptional("lanternfly.compositor.spatial", "quad_vs", "spatial_fs");
    twoHandDots =
        maker.makeOptional("lanternfly.compositor.twoHandDots", "quad_vs", "twoHandDots_fs");
}

} // namespace lanternfly
