#include "render/vulkan/CompiledShaders.h"

#include <mutex>

#include <glslang/Public/ResourceLimits.h>
#include <glslang/Public/ShaderLang.h>
#include <glslang/SPIRV/GlslangToSpv.h>

namespace lanternfly {

namespace {

constexpr const char* requiredNames[] = {"quad_vs",   "slide_vs",    "stroke_vs",   "textured_fs",
                                         "slide_fs",  "backdrop_fs", "pinchBar_fs", "stroke_fs",
                                         "reduce_fs", "gauss_fs"};
constexpr const char* optionalNames[] = {"spatial_fs", "twoHandDots_fs"};

// The compiler's process-wide state, made once and kept.
void initializeCompiler() {
    static const bool isInitialized = glslang::InitializeProcess();
    if (!isInitialized) throw ShaderError("the shader compiler does not start");
}

std::string trimmed(std::string text) {
    while (!text.empty() && (text.back() == '\n' || text.back() == ' '))
        text.pop_back();
    return text;
}

std::vector<uint32_t> compiled(const std::string& name, const std::string& text) {
    const EShLanguage stage = name.size() > 3 && name.compare(name.size() - 3, 3, "_vs") == 0
                                  ? EShLangVertex
                                  : EShLangFragment;
    constexpr auto messages = static_cast<EShMessages>(EShMsgSpvRules | EShMsgVulkanRules);
    constexpr int glslVersion = 450;
    glslang::TShader shader(stage);
    const char* source = text.c_str();
    const char* sourceName = name.c_str();
    shader.setStringsWithLengthsAndNames(&source, nullptr, &sourceName, 1);
    shader.setEnvInput(glslang::EShSourceGlsl, stage, glslang::EShClientVulkan, 100);
    shader.setEnvClient(glslang::EShClientVulkan, glslang::EShTargetVulkan_1_3);
    shader.setEnvTarget(glslang::EShTargetSpv, glslang::EShTargetSpv_1_6);
    if (!shader.parse(GetDefaultResources(), glslVersion, false, messages))
        throw ShaderError(name + ": " + trimmed(shader.getInfoLog()));
    glslang::TProgram program;
    program.addShader(&shader);
    if (!program.link(messages)) throw ShaderError(name + ": " + trimmed(program.getInfoLog()));
    std::vector<uint32_t> words;
    glslang::GlslangToSpv(*program.getIntermediate(stage), words);
    return words;
}

} // namespace

CompiledShaders compileShaders(const ShaderTexts& texts) {
    initializeCompiler();
    CompiledShaders shaders;
    for (const char* name : requiredNames) {
        const auto text = texts.find(name);
        if (text == texts.end()) throw ShaderError(std::string("no function ") + name);
        shaders[name] = compiled(name, text->second);
    }
    for (const char* name : optionalNames) {
        const auto text = texts.find(name);
        if (text == texts.end()) continue;
        try {
            shaders[name] = compiled(name, text->second);
        } catch (const ShaderError&) {
            // Frames do without what it draws.
        }
    }
    return shaders;
}

} // namespace lanternfly
