#include "render/vulkan/VulkanFrameRenderer.h"

#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "render/FrameCompositor.h"
#include "support/LogCapture.h"
#include "support/Pictures.h"
#include "support/VulkanForTests.h"

namespace lanternfly {
namespace {

using test::cameraScene;
using test::difference;
using test::slidePicture;

constexpr FrameSize size{320, 180};

class VulkanFrameRendererTest : public test::VulkanTest {
protected:
    std::shared_ptr<VulkanDevice> device = test::vulkanDevice();
    test::LogCapture log;

    static ShaderTexts shadersWith(const std::string& name, const std::string& text) {
        ShaderTexts texts = embeddedShaders();
        texts[name] = text;
        return texts;
    }
    static ShaderTexts shadersWithout(const std::string& name) {
        ShaderTexts texts = embeddedShaders();
        texts.erase(name);
        return texts;
    }
    std::shared_ptr<FrameCompositor> compositorWithSlide() {
        auto compositor = FrameCompositor::create(device, size.width, size.height);
        compositor->setSlideTexture(device->makeTexture(*slidePicture(256, 144), {}), true);
        return compositor;
    }
    // One frame with the inputs' textures, drawn by a renderer of these shaders.
    PixelBufferRef drawn(const ShaderTexts& shaders, const CompositorInputs& inputs) {
        const auto renderer = makeVulkanFrameRenderer(device, size, shaders);
        FrameKernels kernels;
        const FramePlan plan =
            planFrame(inputs, {size, size, false, FullComposition{}, 0}, kernels);
        const auto camera = cameraScene(size.width, size.height);
        auto output = PixelBuffer::create(size.width, size.height);
        EXPECT_EQ(
            renderer->draw(plan, {camera.get(), inputs.slide.texture.get(), output.get(),
                                  inputs.spatial.texture.get(), inputs.annotation.texture.get()}),
            "");
        return output;
    }
    static PixelBufferRef composite(FrameCompositor& compositor, const PixelBufferRef& camera) {
        return compositor.composite(camera, false, FullComposition{}, 0);
    }
};

TEST_F(VulkanFrameRendererTest, ARequiredShaderThatDoesNotCompileYieldsNoRenderer) {
    EXPECT_EQ(makeVulkanFrameRenderer(device, size, shadersWith("slide_fs", "#version 450\nvoid")),
              nullptr);
    ASSERT_EQ(log.lines().size(), 1u);
    const auto line = log.lines().front();
    EXPECT_EQ(line.level, LogLevel::error);
    EXPECT_EQ(line.category, "FrameCompositor");
    EXPECT_EQ(line.message.find("shader compile/link failed: slide_fs: "), 0u) << line.message;
}

TEST_F(VulkanFrameRendererTest, AMissingRequiredFunctionYieldsNoRenderer) {
    for (const char* name : {"quad_vs", "slide_vs", "stroke_vs", "textured_fs", "slide_fs",
                             "backdrop_fs", "pinchBar_fs", "stroke_fs"}) {
        EXPECT_EQ(makeVulkanFrameRenderer(device, size, shadersWithout(name)), nullptr);
        EXPECT_TRUE(log.contains(std::string("shader compile/link failed: no function ") + name));
    }
}

TEST_F(VulkanFrameRendererTest, OptionalShadersMayFail) {
    for (const char* name : {"twoHandDots_fs", "spatial_fs"}) {
        EXPECT_NE(makeVulkanFrameRenderer(device, size, shadersWith(name, "broken")), nullptr);
        EXPECT_NE(makeVulkanFrameRenderer(device, size, shadersWithout(name)), nullptr);
    }
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(VulkanFrameRendererTest, WithoutTheirShaderFramesCarryNoDots) {
    CompositorInputs inputs;
    const auto withoutDots = drawn(embeddedShaders(), inputs);
    inputs.twoHandDiscoverability = {1, 1, {-0.5f, 0.4f}, {0.3f, -0.2f}};
    EXPECT_GT(difference(*drawn(embeddedShaders(), inputs), *withoutDots).differing, 4);
    EXPECT_EQ(
        difference(*drawn(shadersWith("twoHandDots_fs", "broken"), inputs), *withoutDots).differing,
        0);
}

TEST_F(VulkanFrameRendererTest, WithoutItsShaderAModelIsDrawnUnfinished) {
    CompositorInputs inputs;
    inputs.spatial.texture = device->makeTexture(*slidePicture(64, 64, 128), {});
    const auto plain = drawn(embeddedShaders(), inputs);
    inputs.spatial.levelStrength = 1;
    inputs.spatial.whiteCeiling = 0.5f;
    EXPECT_GT(difference(*drawn(embeddedShaders(), inputs), *plain).differing, 1000);
    EXPECT_EQ(difference(*drawn(shadersWithout("spatial_fs"), inputs), *plain).differing, 0);
}

TEST_F(VulkanFrameRendererTest, IsNotMadeForAnotherKindOfDevice) {
    EXPECT_EQ(makeVulkanFrameRenderer(CpuDevice::create(), size), nullptr);
}

TEST_F(VulkanFrameRendererTest, ALostDeviceCostsAFrameAndComesBackWithoutItsTextures) {
    const auto camera = cameraScene(size.width, size.height);
    const auto compositor = compositorWithSlide();
    const auto before = composite(*compositor, camera);
    ASSERT_GT(difference(*before, *camera).differing, 1000);

    const auto lost = device->context();
    lost->failNextSubmission(VK_ERROR_DEVICE_LOST);
    EXPECT_NE(composite(*compositor, camera), nullptr);
    EXPECT_TRUE(log.contains("composite command buffer failed: vkQueueSubmit2: device lost"));

    const auto camerasOnly = composite(*compositor, camera);
    EXPECT_NE(device->context(), lost);
    EXPECT_EQ(log.count("the lost device is back: " + device->name()), 1u);
    EXPECT_EQ(difference(*camerasOnly, *camera).differing, 0);

    compositor->setSlideTexture(device->makeTexture(*slidePicture(256, 144), {}), true);
    EXPECT_EQ(difference(*composite(*compositor, camera), *before).differing, 0);
}

TEST_F(VulkanFrameRendererTest, TwoRenderersOfALostDeviceBothComeBack) {
    const auto camera = cameraScene(size.width, size.height);
    const auto one = compositorWithSlide();
    const auto other = compositorWithSlide();
    device->context()->failNextSubmission(VK_ERROR_DEVICE_LOST);
    composite(*one, camera);
    for (int frame = 0; frame < 2; ++frame)
        for (const auto& compositor : {one, other})
            EXPECT_EQ(difference(*composite(*compositor, camera), *camera).differing, 0);
    EXPECT_EQ(log.count("the lost device is back: " + device->name()), 1u);
}

TEST_F(VulkanFrameRendererTest, AFailedSubmissionThatIsNoLossCostsOneFrame) {
    const auto camera = cameraScene(size.width, size.height);
    const auto compositor = compositorWithSlide();
    const auto before = composite(*compositor, camera);
    device->context()->failNextSubmission(VK_ERROR_OUT_OF_DEVICE_MEMORY);
    composite(*compositor, camera);
    EXPECT_TRUE(
        log.contains("composite command buffer failed: vkQueueSubmit2: out of device memory"));
    EXPECT_EQ(difference(*composite(*compositor, camera), *before).differing, 0);
}

TEST_F(VulkanFrameRendererTest, ATextureOfAnotherDeviceIsNotDrawn) {
    const auto camera = cameraScene(size.width, size.height);
    const auto compositor = compositorWithSlide();
    for (const DeviceRef& other :
         {DeviceRef(CpuDevice::create()), DeviceRef(test::vulkanDevice(false))}) {
        compositor->setSlideTexture(other->makeTexture(*slidePicture(256, 144), {}), true);
        EXPECT_EQ(difference(*composite(*compositor, camera), *camera).differing, 0);
    }
}

TEST_F(VulkanFrameRendererTest, TheCameraMayChangeItsSizeFromFrameToFrame) {
    const auto compositor = FrameCompositor::create(device, size.width, size.height);
    const auto cpu = FrameCompositor::create(CpuDevice::create(), size.width, size.height);
    for (const auto& [width, height] : {std::pair(320, 180), std::pair(640, 480), std::pair(1, 1),
                                        std::pair(333, 777), std::pair(320, 180)}) {
        const auto camera = cameraScene(width, height);
        EXPECT_LE(difference(*composite(*compositor, camera), *composite(*cpu, camera)).largest, 1)
            << width << "x" << height;
    }
}

} // namespace
} // namespace lanternfly
