#include "render/FrameRenderer.h"

#include <filesystem>

#include <gtest/gtest.h>

#include "FrameScenes.h"
#include "gpu/cpu/CpuDevice.h"
#include "support/Pictures.h"
#include "support/Png.h"
#include "support/VulkanForTests.h"

namespace lanternfly {
namespace {

using test::difference;
using test::FrameScene;
using test::vulkanDevice;

PixelBufferRef draw(const FrameScene& scene, const DeviceRef& device) {
    TextureOptions options;
    options.prefilteredLevels = true;
    CompositorInputs inputs = scene.inputs;
    inputs.slide = {
        device->makeTexture(
            *test::slidePicture(scene.slide.width, scene.slide.height, scene.slideAlpha), options),
        scene.originTopLeft};
    FrameKernels kernels;
    const FramePlan plan = planFrame(
        inputs, {scene.output, scene.camera, scene.mirror, FullComposition{}, 0}, kernels);
    auto output = PixelBuffer::create(scene.output.width, scene.output.height);
    const auto camera = test::cameraScene(scene.camera.width, scene.camera.height);
    const auto renderer = makeFrameRenderer(device, scene.output);
    EXPECT_NE(renderer, nullptr);
    if (!renderer) return output;
    const FrameRenderer::Picture picture{camera.get(), inputs.slide.texture.get(), output.get()};
    // The second frame finds what the first one left behind.
    for (int frame = 0; frame < 2; ++frame)
        EXPECT_EQ(renderer->draw(plan, picture), "");
    return output;
}

void keepPictures(const std::string& name, const PixelBuffer& cpu, const PixelBuffer& vulkan) {
    const auto folder = std::filesystem::path(LANTERNFLY_BUILD_DIR) / "frames";
    std::filesystem::create_directories(folder);
    test::writePng(cpu, folder / (name + "-cpu.png"));
    test::writePng(vulkan, folder / (name + "-vulkan.png"));
}

class FrameRendererTest : public test::VulkanTest,
                          public ::testing::WithParamInterface<FrameScene> {
protected:
    void compare(bool allowHostImport) {
        const FrameScene& scene = GetParam();
        const PixelBufferRef cpu = draw(scene, CpuDevice::create());
        const PixelBufferRef vulkan = draw(scene, vulkanDevice(allowHostImport));
        const auto all = difference(*cpu, *vulkan);
        // A frame of a few pixels has no error to average.
        if (scene.output.width > 16) {
            EXPECT_GE(all.psnr(), 48);
        }
        EXPECT_LE(all.largest, 6);
        RecordProperty("psnr", std::to_string(all.psnr()));
        RecordProperty("largestDifference", all.largest);
        if (HasFailure() || std::getenv("LANTERNFLY_KEEP_FRAMES"))
            keepPictures(scene.name, *cpu, *vulkan);
    }
};

TEST_P(FrameRendererTest, DrawsTheSameOnVulkanAsOnTheCpu) {
    compare(true);
}

TEST_P(FrameRendererTest, DrawsTheSameWhenTheDeviceCannotReadPixelBuffers) {
    compare(false);
}

INSTANTIATE_TEST_SUITE_P(Scenes, FrameRendererTest, ::testing::ValuesIn(test::frameScenes()),
                         [](const auto& scene) { return scene.param.name; });

} // namespace
} // namespace lanternfly
