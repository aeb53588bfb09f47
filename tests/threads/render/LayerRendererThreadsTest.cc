// Layers from the hand tracking thread, pictures from the capture thread, looks from the main
// thread, frames on the camera's. ThreadSanitizer judges the accesses; the assertions judge that
// every frame sees a complete list of strokes.
#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "render/LayerRenderer.h"
#include "support/Pictures.h"

namespace lanternfly {

namespace {

constexpr int rounds = 400;

// A window, and as many strokes as a full list has.
std::vector<Layer> layersWith(const std::string& window, size_t strokes) {
    DrawingContent content{.viewport = {1920, 1080}};
    for (size_t i = 0; i < strokes; ++i)
        content.strokes.push_back({"#FFFFFFE6", 8, {{0, 0}, {30, 40}, {90, 10}}});
    return {{.id = window, .kind = LayerKind::window},
            {.id = "d", .kind = LayerKind::drawing, .content = std::move(content)}};
}

} // namespace

TEST(LayerRendererThreads, LayersPicturesAndLooksMayComeFromAnyThread) {
    const auto device = CpuDevice::create();
    const auto compositor = FrameCompositor::create(device, 64, 200); // several bands
    const auto camera = test::cameraScene(64, 200);
    const TextureRef picture = device->makeTexture(*test::slidePicture(32, 18), TextureOptions{});
    LayerRenderer renderer(compositor);
    std::atomic<int> running = 3;
    std::thread drawing([&] {
        for (int round = 0; round < rounds; ++round)
            renderer.setLayers(layersWith("w1", 3), 1.6f);
        --running;
    });
    std::thread clearing([&] {
        for (int round = 0; round < rounds; ++round) {
            renderer.setLayers(layersWith("w2", 7), 1.6f);
            renderer.setTuning(VisionOSTuning::defaults);
            renderer.setPinchIndicator({0.5f});
            renderer.setAppearance(OverlayAppearance::visible);
        }
        --running;
    });
    std::thread capturing([&] {
        for (int round = 0; round < rounds; ++round) {
            renderer.setTexture(LayerTextureBinding{picture, true}, "w1");
            renderer.setTexture(std::nullopt, "w1");
        }
        --running;
    });
    while (running > 0) {
        ASSERT_TRUE(compositor->composite(camera, false, FullComposition{}, 0));
        const CompositorInputs inputs = compositor->inputs();
        const size_t strokes = inputs.strokeBatches->size();
        EXPECT_TRUE(strokes == 0 || strokes == 3 || strokes == 7) << strokes;
        EXPECT_TRUE(!inputs.slide.texture || inputs.slide.texture == picture);
        EXPECT_EQ(inputs.slide.originTopLeft, inputs.slide.texture != nullptr);
    }
    drawing.join();
    clearing.join();
    capturing.join();
    renderer.setTexture(LayerTextureBinding{picture, true}, "w1");
    renderer.setLayers(layersWith("w1", 2), 1.6f);
    EXPECT_EQ(compositor->inputs().strokeBatches->size(), 2u);
    EXPECT_EQ(compositor->inputs().slide.texture, picture);
}

} // namespace lanternfly
