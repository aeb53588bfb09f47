#include "render/FrameCompositor.h"

#include <limits>

#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "support/LogCapture.h"
#include "support/Pictures.h"

namespace lanternfly {
namespace {

using test::cameraScene;
using test::difference;
using test::slidePicture;

constexpr float notANumber = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite = std::numeric_limits<float>::infinity();

class FrameCompositorTest : public ::testing::Test {
protected:
    std::shared_ptr<CpuDevice> device = CpuDevice::create();
    std::shared_ptr<FrameCompositor> compositor = FrameCompositor::create(device, 320, 180);
    PixelBufferRef camera = cameraScene(320, 180);

    PixelBufferRef frame(bool mirror = false) {
        return compositor->composite(camera, mirror, FullComposition{}, 0);
    }
    TextureRef slide(int width = 512, int height = 288) {
        TextureOptions options;
        options.prefilteredLevels = true;
        return device->makeTexture(*slidePicture(width, height), options);
    }
};

TEST_F(FrameCompositorTest, StartsWithDocumentedInputs) {
    const CompositorInputs inputs = compositor->inputs();
    EXPECT_EQ(inputs.slide.texture, nullptr);
    EXPECT_FALSE(inputs.slide.originTopLeft);
    EXPECT_EQ(inputs.appearance, OverlayAppearance::visible);
    EXPECT_EQ(inputs.transform, OverlayTransform::day4Default);
    EXPECT_EQ(inputs.tuning, VisionOSTuning::defaults);
    EXPECT_EQ(inputs.pinchIndicator, PinchIndicatorState::inactive);
    EXPECT_EQ(inputs.twoHandDiscoverability, TwoHandDiscoverabilityState::inactive);
    EXPECT_TRUE(inputs.strokeBatches->empty());
    EXPECT_EQ(inputs.drawingOpacity, 1);
    EXPECT_EQ(inputs.drawingWidthScale, 1);
    EXPECT_EQ(inputs.spatial.texture, nullptr);
    EXPECT_EQ(inputs.spatial.opacity, 1);
    EXPECT_EQ(inputs.spatial.blackFloor, 0);
    EXPECT_EQ(inputs.spatial.whiteCeiling, 1);
    EXPECT_EQ(inputs.spatial.levelStrength, 0);
    EXPECT_EQ(inputs.annotation.texture, nullptr);
    EXPECT_EQ(inputs.annotation.opacity, 1);
    EXPECT_TRUE(inputs.isDrawingEnabled);
    EXPECT_EQ(compositor->width(), 320);
    EXPECT_EQ(compositor->height(), 180);
    EXPECT_EQ(compositor->device(), device);
}

TEST_F(FrameCompositorTest, SettersClampToTheirRanges) {
    compositor->setDrawingWidthScale(5);
    EXPECT_EQ(compositor->inputs().drawingWidthScale, 4);
    compositor->setDrawingWidthScale(-1);
    EXPECT_EQ(compositor->inputs().drawingWidthScale, 0);
    compositor->setDrawingOpacity(2);
    EXPECT_EQ(compositor->inputs().drawingOpacity, 1);
    compositor->setSpatialLightWrap(0.5f, 2);
    EXPECT_EQ(compositor->inputs().spatial.lightWrapWidth, 0.1f);
    EXPECT_EQ(compositor->inputs().spatial.lightWrapStrength, 1);
    compositor->setSpatialUnderlayBlurSigma(120);
    EXPECT_EQ(compositor->inputs().spatial.underlayBlurSigma, 80);
    compositor->setSpatialBackgroundBlurSigma(-3);
    EXPECT_EQ(compositor->inputs().spatial.backgroundBlurSigma, 0);
    compositor->setSpatialBackgroundBlurSigma(500);
    EXPECT_EQ(compositor->inputs().spatial.backgroundBlurSigma, 500);
    compositor->setAnnotationOpacity(1.5f);
    EXPECT_EQ(compositor->inputs().annotation.opacity, 1.5f);
    compositor->setAnnotationOpacity(-1);
    EXPECT_EQ(compositor->inputs().annotation.opacity, 0);
    compositor->setSpatialOpacity(-1);
    EXPECT_EQ(compositor->inputs().spatial.opacity, 0);
    compositor->setSpatialLevelMatch(-1, 2, 0.5f);
    EXPECT_EQ(compositor->inputs().spatial.blackFloor, 0);
    EXPECT_EQ(compositor->inputs().spatial.whiteCeiling, 1);
    EXPECT_EQ(compositor->inputs().spatial.levelStrength, 0.5f);
    compositor->setSpatialEdgeSoftness(3);
    EXPECT_EQ(compositor->inputs().spatial.edgeSoftness, 1);
    compositor->setPinchIndicator({7});
    EXPECT_EQ(compositor->inputs().pinchIndicator.opacity, 7);
}

TEST_F(FrameCompositorTest, NotANumberBecomesTheLowerEnd) {
    compositor->setDrawingOpacity(notANumber);
    EXPECT_EQ(compositor->inputs().drawingOpacity, 0);
    compositor->setAnnotationOpacity(notANumber);
    EXPECT_EQ(compositor->inputs().annotation.opacity, 0);
    compositor->setSpatialUnderlayBlurSigma(infinite);
    EXPECT_EQ(compositor->inputs().spatial.underlayBlurSigma, 80);
}

TEST_F(FrameCompositorTest, ASettingOfOneGroupLeavesTheOthersOfTheGroup) {
    const TextureRef texture = slide();
    compositor->setAnnotationTexture(texture, true);
    compositor->setAnnotationOpacity(0.5f);
    compositor->setSpatialTexture(texture);
    compositor->setSpatialOpacity(0.25f);
    const CompositorInputs inputs = compositor->inputs();
    EXPECT_EQ(inputs.annotation.texture, texture);
    EXPECT_TRUE(inputs.annotation.originTopLeft);
    EXPECT_EQ(inputs.annotation.opacity, 0.5f);
    EXPECT_EQ(inputs.spatial.texture, texture);
    EXPECT_EQ(inputs.spatial.opacity, 0.25f);
}

TEST(StrokeBatchTest, IsEmptyBelowFourVertices) {
    FrameCompositor::StrokeBatch batch;
    batch.triangleStripVertexCount = 3;
    EXPECT_TRUE(batch.isEmpty());
    batch.triangleStripVertexCount = 4;
    EXPECT_FALSE(batch.isEmpty());
}

TEST(StrokeBatchTest, KeepsTheMeshInOrderAndBoundsTheViewport) {
    StrokeGeometry::StrokeMesh mesh;
    mesh.color = {0.1f, 0.2f, 0.3f, 0.4f};
    mesh.vertices = {{{1, 2}, 3, 4, 5, 6}, {{7, 8}, 9, 10, 11, 12}};
    const FrameCompositor::StrokeBatch batch(mesh, DrawingViewport{0, 0});
    EXPECT_EQ(batch.vertexBuffer, (std::vector<float>{1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}));
    EXPECT_EQ(batch.triangleStripVertexCount, 2);
    EXPECT_EQ(batch.color, mesh.color);
    EXPECT_EQ(batch.viewportWidthPX, 1);
    EXPECT_EQ(batch.viewportHeightPX, 1);
}

TEST_F(FrameCompositorTest, WithoutAnyLayerTheFrameIsTheCamera) {
    const auto plain = frame();
    EXPECT_EQ(difference(*plain, *camera).largest, 0);
    const auto mirrored = frame(true);
    for (int x = 0; x < 320; ++x)
        ASSERT_EQ(mirrored->row(7)[x * 4 + 1], camera->row(7)[(319 - x) * 4 + 1]);
}

TEST_F(FrameCompositorTest, APaneChangesOnlyItsSurroundings) {
    compositor->setSlideTexture(slide(), true);
    const auto result = frame();
    EXPECT_GT(difference(*result, *camera).differing, 5000);
    for (int x = 0; x < 320; ++x)
        ASSERT_EQ(result->row(170)[x * 4], camera->row(170)[x * 4]) << "below the pane";
}

TEST_F(FrameCompositorTest, AnExhaustedPoolGivesNothingAndTheNextFrameTriesAgain) {
    const test::LogCapture log;
    std::vector<PixelBufferRef> kept;
    while (auto taken = frame())
        kept.push_back(std::move(taken));
    EXPECT_EQ(kept.size(), 16u);
    EXPECT_EQ(log.count("output pool exhausted: -1"), 1u);
    kept.pop_back();
    EXPECT_NE(frame(), nullptr);
}

TEST_F(FrameCompositorTest, ACameraBufferOfAnotherFormatGivesNothing) {
    const test::LogCapture log;
    EXPECT_EQ(compositor->composite(PixelBuffer::create(320, 180, PixelFormat::nv12), false,
                                    FullComposition{}, 0),
              nullptr);
    EXPECT_EQ(compositor->composite(nullptr, false, FullComposition{}, 0), nullptr);
    EXPECT_EQ(log.count("failed to wrap camera buffer as MTLTexture"), 2u);
}

TEST_F(FrameCompositorTest, ATextureOfAnotherDeviceIsNotDrawn) {
    const auto other = CpuDevice::create();
    compositor->setSlideTexture(other->makeTexture(*slidePicture(64, 36), {}), true);
    EXPECT_EQ(difference(*frame(), *camera).largest, 0);
}

TEST_F(FrameCompositorTest, ImpossibleSizesYieldNoCompositor) {
    EXPECT_EQ(FrameCompositor::create(device, 0, 1080), nullptr);
    EXPECT_EQ(FrameCompositor::create(device, 1920, -1), nullptr);
    EXPECT_EQ(FrameCompositor::create(device, 1 << 20, 4), nullptr);
    EXPECT_EQ(FrameCompositor::create(nullptr, 64, 64), nullptr);
}

TEST_F(FrameCompositorTest, ACameraOfAnotherSizeFillsTheFrame) {
    camera = cameraScene(640, 360);
    const auto scaled = frame();
    // A bilinear sample midway between four texels is their mean.
    for (const int x : {0, 100, 319}) {
        int sum = 0;
        for (const int dy : {0, 1})
            for (const int dx : {0, 1})
                sum += camera->row(2 * 40 + dy)[(2 * x + dx) * 4];
        EXPECT_NEAR(scaled->row(40)[x * 4], sum / 4.0, 0.51) << x;
    }
}

} // namespace
} // namespace lanternfly
