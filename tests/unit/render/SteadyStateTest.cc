#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "render/FrameCompositor.h"
#include "support/AllocationCount.h"
#include "support/Pictures.h"
#include "support/scenes/Scenes.h"

namespace lanternfly {
namespace {

TEST(SteadyState, AHundredFramesAllocateNothing) {
    const auto device = CpuDevice::create();
    const auto compositor = FrameCompositor::create(device, 320, 180);
    const auto camera = test::cameraScene(320, 180);
    const auto cameraOfAnotherSize = test::cameraScene(400, 300);
    compositor->setSlideTexture(device->makeTexture(*test::slidePicture(256, 144), {}), false);
    compositor->setPinchIndicator({1});
    VisionOSTuning tuning;
    tuning.backdropBlurSigma = 12;
    compositor->setTuning(tuning);
    const TextureRef models[] = {device->makeTexture(*test::modelPicture(320, 180), {}),
                                 device->makeTexture(*test::modelPicture(200, 180), {})};
    compositor->setAnnotationTexture(device->makeTexture(*test::annotationPicture(200, 100), {}),
                                     true);
    compositor->setSpatialEdgeSoftness(0.3f);
    compositor->setSpatialLightWrap(0.02f, 0.5f);
    compositor->setTwoHandDiscoverability({1, 1, {0.1f, 0.1f}, {-0.1f, 0}});
    Stroke stroke{.color = "#FFD23F", .width = 9, .points = {{10, 20}, {100, 90}, {300, 40}}};
    compositor->setStrokeBatches({StrokeBatch(
        StrokeGeometry::tessellate(stroke, StrokeGeometry::InkProfile::studioDraw, 3, false),
        DrawingViewport{320, 180})});
    const auto composite = [&](int frame) {
        const CompositionMode modes[] = {FullComposition{}, FullComposition{},
                                         SwapComposition{SwapFillMode::fit},
                                         SwapComposition{SwapFillMode::fill}};
        compositor->setSpatialTexture(models[frame % 2]);
        compositor->setSpatialUnderlayBlurSigma(static_cast<float>(frame % 20));
        const float swing = static_cast<float>(frame % 20) / 20;
        compositor->setTransform({{swing / 2 - 0.25f, 0.1f}, 0.4f, 1});
        compositor->setAppearance({1, swing * 12, 10, 20 * swing});
        const auto result = compositor->composite(frame % 20 == 5 ? cameraOfAnotherSize : camera,
                                                  frame % 2 == 0, modes[frame % 4], swing);
        ASSERT_NE(result, nullptr);
    };
    for (int frame = 0; frame < 100; ++frame)
        composite(frame);
    const size_t before = test::allocationCount;
    EXPECT_GT(before, 0u) << "the count works";
    for (int frame = 0; frame < 100; ++frame)
        composite(frame);
    EXPECT_EQ(test::allocationCount - before, 0u);
}

} // namespace
} // namespace lanternfly
