#include "render/vulkan/VulkanFrameRenderer.h"

#include "render/vulkan/FrameDrawer.h"

namespace lanternfly {

namespace {

class VulkanFrameRenderer final : public FrameRenderer {
public:
    VulkanFrameRenderer(std::shared_ptr<VulkanDevice> device, FrameSize output,
                        CompiledShaders shaders)
        : _device(std::move(device)), _output(output), _shaders(std::move(shaders)),
          _drawer(std::make_unique<FrameDrawer>(_device->context(), _shaders, _output)) {}

    std::string draw(const FramePlan& plan, const Picture& picture) override {
        try {
            if (!_drawer || _drawer->context()->isLost()) rebuild();
            _drawer->draw(plan, picture);
            return {};
        } catch (const VulkanError& error) {
            return error.what();
        }
    }

private:
    void rebuild() {
        _drawer.reset();
        if (!_device->recover()) throw VulkanError(VK_ERROR_DEVICE_LOST, "recover");
        _drawer = std::make_unique<FrameDrawer>(_device->context(), _shaders, _output);
    }

    const std::shared_ptr<VulkanDevice> _device;
    const FrameSize _output;
    const CompiledShaders _shaders;
    std::unique_ptr<FrameDrawer> _drawer;
};

} // namespace

std::unique_ptr<FrameRenderer> makeVulkanFrameRenderer(const DeviceRef& device, FrameSize output,
                                                       const ShaderTexts& shaders) {
    auto vulkan = std::dynamic_pointer_cast<VulkanDevice>(device);
    if (!vulkan) return nullptr;
    try {
        return std::make_unique<VulkanFrameRenderer>(std::move(vulkan), output,
                                                     compileShaders(shaders));
    } catch (const std::runtime_error& error) { // of the compiler or of the device
        Logger("FrameCompositor").error("shader compile/link failed: {}", error.what());
        return nullptr;
    }
}

} // namespace lanternfly
