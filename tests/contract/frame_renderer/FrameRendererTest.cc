#include "render/FrameRenderer.h"

#include <algorithm>
#include <filesystem>

#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "support/Pictures.h"
#include "support/Png.h"
#include "support/VulkanForTests.h"
#include "support/scenes/Scenes.h"

namespace lanternfly {
namespace {

using test::difference;
using test::Scene;
using test::vulkanDevice;

// The scenes of every layer, and sizes that suit no block of pixels.
std::vector<Scene> contractScenes() {
    auto all = test::scenes();
    const auto like = [&](const char* known, const char* name) -> Scene& {
        Scene scene = *std::find_if(all.begin(), all.end(),
                                    [&](const Scene& other) { return other.name == known; });
        scene.name = name;
        return all.emplace_back(std::move(scene));
    };
    like("everything", "everythingOfOddSizes").output = {333, 187};
    like("everything", "everythingMirrored").mirror = true;
    Scene& smaller = like("everything", "everythingOfASmallerCamera");
    smaller.camera = FrameSize{160, 120};
    smaller.mirror = true;
    like("everything", "everythingOfALargerCamera").camera = FrameSize{801, 601};
    like("everything", "everythingInOnePixel").output = {1, 1};
    Scene& little = like("backdropFrosted", "backdropFrostedALittle");
    little.inputs.tuning.backdropBlurSigma = 2;
    Scene& much = like("backdropFrosted", "backdropFrostedMuchPartlyOutside");
    much.inputs.tuning.backdropBlurSigma = 60;
    much.inputs.transform.position = {-0.45f, 0.4f};
    like("backgroundBlurred", "backgroundBlurredMuch").inputs.appearance.blur = 100;
    Scene& swapped = like("swapBlurred", "swapFrostedMirroredSmallerCamera");
    swapped.mirror = true;
    swapped.camera = FrameSize{320, 240};
    swapped.inputs.appearance.opacity = 0.6f;
    swapped.inputs.tuning.backdropBlurSigma = 14;
    return all;
}

PixelBufferRef draw(const Scene& scene, const DeviceRef& device) {
    const CompositorInputs inputs = inputsOn(*device, scene);
    FrameKernels kernels;
    const FramePlan plan = planFrame(inputs, scene.request(), kernels);
    auto output = PixelBuffer::create(scene.output.width, scene.output.height);
    const auto camera = cameraPicture(scene);
    const auto renderer = makeFrameRenderer(device, scene.output);
    EXPECT_NE(renderer, nullptr);
    if (!renderer) return output;
    const FrameRenderer::Picture picture{camera.get(), inputs.slide.texture.get(), output.get(),
                                         inputs.spatial.texture.get(),
                                         inputs.annotation.texture.get()};
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

class FrameRendererTest : public test::VulkanTest, public ::testing::WithParamInterface<Scene> {
protected:
    void compare(bool allowHostImport) {
        const Scene& scene = GetParam();
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

INSTANTIATE_TEST_SUITE_P(Scenes, FrameRendererTest, ::testing::ValuesIn(contractScenes()),
                         [](const auto& scene) { return scene.param.name; });

} // namespace
} // namespace lanternfly
