#include <gtest/gtest.h>

#include "render/FrameCompositor.h"
#include "support/AllocationCount.h"
#include "support/Pictures.h"
#include "support/VulkanForTests.h"

namespace lanternfly {
namespace {

TEST(VulkanSteadyState, AHundredFramesMakeNoObjectAndAllocateNothing) {
    const auto device = VulkanDevice::create(); // the validation layer allocates
    if (!device) GTEST_SKIP() << "this machine has no Vulkan 1.3 device";
    const auto compositor = FrameCompositor::create(device, 320, 180);
    ASSERT_NE(compositor, nullptr);
    const auto camera = test::cameraScene(320, 180);
    const auto cameraOfAnotherSize = test::cameraScene(400, 300);
    compositor->setSlideTexture(device->makeTexture(*test::slidePicture(256, 144), {}), false);
    compositor->setPinchIndicator({1});
    VisionOSTuning tuning;
    tuning.backdropBlurSigma = 12;
    compositor->setTuning(tuning);
    const auto composite = [&](int frame) {
        const float swing = static_cast<float>(frame % 20) / 20;
        compositor->setTransform({{swing / 2 - 0.25f, 0.1f}, 0.4f, 1});
        compositor->setAppearance({1, swing * 12, 10, 20 * swing});
        const auto result = compositor->composite(frame % 5 == 0 ? cameraOfAnotherSize : camera,
                                                  frame % 2 == 0, FullComposition{}, 0);
        ASSERT_NE(result, nullptr);
    };
    for (int frame = 0; frame < 100; ++frame)
        composite(frame);
    const size_t allocationsBefore = test::allocationCount;
    const int objectsBefore = device->context()->madeObjectCount();
    EXPECT_GT(allocationsBefore, 0u) << "the count works";
    EXPECT_GT(objectsBefore, 0) << "the count works";
    for (int frame = 0; frame < 100; ++frame)
        composite(frame);
    EXPECT_EQ(device->context()->madeObjectCount() - objectsBefore, 0);
    EXPECT_EQ(test::allocationCount - allocationsBefore, 0u);
}

} // namespace
} // namespace lanternfly
