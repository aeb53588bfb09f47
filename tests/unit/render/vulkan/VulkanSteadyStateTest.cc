#include <gtest/gtest.h>

#include "render/FrameCompositor.h"
#include "support/AllocationCount.h"
#include "support/Pictures.h"
#include "support/VulkanForTests.h"

namespace lanternfly {
namespace {

TEST(VulkanSteadyState, AHundredFramesMakeNoObjectAndAllocateNothing) {
    // Without the validation layer, which allocates; never destroyed, so that the driver's own
    // memory keeps its name for the leak checker.
    static const auto& device = *new auto(VulkanDevice::create());
    if (!device) GTEST_SKIP() << "this machine has no Vulkan 1.3 device";
    const auto compositor = FrameCompositor::create(device, 320, 180);
    ASSERT_NE(compositor, nullptr);
    compositor->setSlideTexture(device->makeTexture(*test::slidePicture(256, 144), {}), false);
    compositor->setPinchIndicator({1});
    compositor->setSpatialTexture(device->makeTexture(*test::slidePicture(320, 180, 90), {}));
    compositor->setAnnotationTexture(device->makeTexture(*test::slidePicture(320, 180, 50), {}),
                                     true);
    StrokeBatch batch;
    batch.triangleStripVertexCount = 4;
    batch.vertexBuffer = {10, 10, 4, 3, 5, 1, 10, 20, -4, 3, 5, 1,
                          90, 10, 4, 3, 5, 1, 90, 20, -4, 3, 5, 1};
    batch.color = {1, 0, 0, 1};
    batch.viewportWidthPX = 100;
    batch.viewportHeightPX = 50;
    compositor->setStrokeBatches({batch, batch});
    VisionOSTuning tuning;
    tuning.backdropBlurSigma = 12;
    compositor->setTuning(tuning);
    const auto composite = [&](int frame, const PixelBufferRef& camera) {
        const float swing = static_cast<float>(frame % 20) / 20;
        compositor->setTransform({{swing / 2 - 0.25f, 0.1f}, 0.4f, 1});
        compositor->setAppearance({1, swing * 12, 10, 20 * swing});
        compositor->setTwoHandDiscoverability({swing, 1, {swing / 2, 0}, {0, 0.3f}});
        compositor->setSpatialEdgeSoftness(swing);
        compositor->setSpatialUnderlayBlurSigma(10 * swing);
        const CompositionMode mode = frame % 3 == 0
                                         ? CompositionMode(SwapComposition{SwapFillMode::fill})
                                         : CompositionMode(FullComposition{});
        const auto result = compositor->composite(camera, frame % 2 == 0, mode, swing);
        ASSERT_NE(result, nullptr);
    };
    for (const auto& camera : {test::cameraScene(320, 180), test::cameraScene(400, 300)}) {
        for (int frame = 0; frame < 60; ++frame)
            composite(frame, camera);
        const size_t allocationsBefore = test::allocationCount;
        const int objectsBefore = device->context()->madeObjectCount();
        EXPECT_GT(allocationsBefore, 0u) << "the count works";
        EXPECT_GT(objectsBefore, 0) << "the count works";
        for (int frame = 0; frame < 60; ++frame)
            composite(frame, camera);
        EXPECT_EQ(device->context()->madeObjectCount() - objectsBefore, 0);
        EXPECT_EQ(test::allocationCount - allocationsBefore, 0u);
    }
}

} // namespace
} // namespace lanternfly
