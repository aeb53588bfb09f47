#include "render/FramePlan.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "support/Pictures.h"

namespace lanternfly {
namespace {

constexpr FrameSize fullHd{1920, 1080};

class FramePlanTest : public ::testing::Test {
protected:
    FramePlanTest() {
        inputs.slide.texture = device->makeTexture(*test::slidePicture(160, 90), {});
    }
    FramePlan plan(bool mirror = false) {
        return planFrame(inputs, {fullHd, camera, mirror, mode, swapDarken}, kernels);
    }

    std::shared_ptr<CpuDevice> device = CpuDevice::create();
    CompositorInputs inputs;
    FrameKernels kernels;
    FrameSize camera = fullHd;
    CompositionMode mode;
    float swapDarken = 0;
};

// Where a point of the pane (±1) lies, in pixels.
double2 project(const PanePlace& place, double x, double y) {
    const glm::dvec4 clip = glm::dmat4(place.matrix) * glm::dvec4(x, y, 0, 1);
    return {(clip.x / clip.w + 1) / 2 * fullHd.width, (1 - clip.y / clip.w) / 2 * fullHd.height};
}

TEST_F(FramePlanTest, AFlatPaneHasTheSizeAndPlaceOfItsTransform) {
    inputs.transform = {{0.1f, 0.2f}, 0.36f, 1};
    const PanePlace place = plan().pane->place;
    const double2 centre = project(place, 0, 0);
    EXPECT_NEAR(centre.x, 960 + 0.1 * 1920, 1e-3);
    EXPECT_NEAR(centre.y, 540 - 0.2 * 1080, 1e-3);
    EXPECT_NEAR(project(place, 1, 0).x - project(place, -1, 0).x, 0.36 * 1920, 1e-3);
    EXPECT_NEAR(project(place, 0, -1).y - project(place, 0, 1).y, 0.36 * 1080, 1e-3);
}

TEST_F(FramePlanTest, MirroringTurnsThePlaceAndTheTiltRound) {
    inputs.transform = {{0.15f, -0.1f}, 0.4f, 1};
    inputs.appearance.tiltX = 12;
    inputs.appearance.tiltY = 25;
    const PanePlace place = plan(false).pane->place;
    const PanePlace mirrored = plan(true).pane->place;
    for (const double x : {-1.0, 0.0, 1.0})
        for (const double y : {-1.0, 0.0, 1.0}) {
            const double2 here = project(place, x, y);
            const double2 there = project(mirrored, -x, y);
            EXPECT_NEAR(here.x, 1920 - there.x, 1e-2);
            EXPECT_NEAR(here.y, there.y, 1e-2);
        }
}

TEST_F(FramePlanTest, TheRecedingEdgeShrinksAndTheCentreStays) {
    inputs.transform = {{0.1f, 0.1f}, 0.4f, 1};
    inputs.appearance.tiltY = 30;
    PanePlace place = plan().pane->place;
    const auto height = [&](double x) { return project(place, x, -1).y - project(place, x, 1).y; };
    EXPECT_LT(height(1), 0.95 * height(-1)) << "the right edge recedes";
    EXPECT_NEAR(project(place, 0, 0).x, 960 + 0.1 * 1920, 1e-3);

    inputs.appearance.tiltY = 0;
    inputs.appearance.tiltX = 30;
    place = plan().pane->place;
    const auto width = [&](double y) { return project(place, 1, y).x - project(place, -1, y).x; };
    EXPECT_GT(width(1), 1.05 * width(-1)) << "the upper edge comes nearer";
}

TEST_F(FramePlanTest, PixelsLeadBackToThePane) {
    for (const bool vDownward : {false, true}) {
        inputs.slide.originTopLeft = vDownward;
        inputs.appearance.tiltX = -20;
        inputs.appearance.tiltY = 35;
        const PanePlace place = plan().pane->place;
        for (const double2 local : {double2(0, 0), double2(-1, 1), double2(0.7, -0.3)}) {
            const double2 pixel = project(place, local.x, local.y) - place.toPane.origin;
            const glm::dvec3 d(pixel, 1);
            const double w = glm::dot(place.toPane.w, d);
            EXPECT_NEAR(glm::dot(place.toPane.x, d) / w, local.x, 1e-4);
            EXPECT_NEAR(glm::dot(place.toPane.y, d) / w, vDownward ? -local.y : local.y, 1e-4);
        }
    }
}

TEST_F(FramePlanTest, AnUprightSlideHasItsFirstRowAtTheBottom) {
    const auto lowerV = [](const Quad& quad) { return quad.vertices[3]; };
    const auto upperV = [](const Quad& quad) { return quad.vertices[15]; };
    EXPECT_LT(lowerV(plan().pane->place.quad), upperV(plan().pane->place.quad));
    inputs.slide.originTopLeft = true;
    EXPECT_GT(lowerV(plan().pane->place.quad), upperV(plan().pane->place.quad));
}

TEST_F(FramePlanTest, UniformsArePackedFieldByField) {
    inputs.appearance.opacity = 0.75f;
    inputs.tuning.backdropBlurSigma = 9;
    const FramePlan frame = plan(true);
    const SlideUniforms slide{
        {0.75f, 160.f / 90, 0.05f, 0}, {0.22f, 0.05f, 0.01f, 0.67f}, {0.05f, 0.2f, 0.03f, 0}};
    EXPECT_EQ(frame.pane->uniforms, slide);
    EXPECT_FLOAT_EQ(frame.pane->place.quad.extent(), 1.22f);
    const BackdropUniforms backdrop{{160.f / 90, 0.05f, 1, 0.75f}, {1920, 1080}};
    EXPECT_EQ(frame.backdrop->uniforms, backdrop);
    EXPECT_EQ(frame.backdrop->place.quad.extent(), 1);
    EXPECT_EQ(frame.backdrop->blurSigma, 9);
}

TEST_F(FramePlanTest, TheCapsuleHangsBelowThePane) {
    inputs.transform = {{0, 0}, 0.5f, 1};
    inputs.pinchIndicator = {0.6f};
    inputs.appearance.tiltX = 20;
    const PinchBarDraw bar = *plan().pinchBar;
    const float frameAspect = 1920.f / 1080;
    const float halfHeight = 0.0117f * 0.5f * frameAspect;
    const double bottom = -0.5 * 160 / 90.0 * 90 / 160;
    const double centreY = bottom - 0.025 * 0.5 * frameAspect - halfHeight;
    EXPECT_NEAR(project(bar.place, 0, 0).y, (1 - centreY) / 2 * 1080, 1e-2);
    EXPECT_NEAR(project(bar.place, 1, 0).x - 960, 0.18 * 0.5 * 960, 1e-2);
    EXPECT_NEAR(project(bar.place, 0, 1).x, 960, 1e-3) << "flat whatever the tilt";
    EXPECT_FLOAT_EQ(bar.uniforms.params.x, 0.18f * 0.5f / halfHeight);
    EXPECT_FLOAT_EQ(bar.uniforms.params.y, 0.6f);
    EXPECT_FLOAT_EQ(bar.place.quad.extent(), 1.55f);
}

TEST_F(FramePlanTest, LayersAtTheVisibilityThresholdAreNotDrawn) {
    inputs.tuning.backdropBlurSigma = 5;
    inputs.appearance.opacity = 0.001f;
    EXPECT_FALSE(plan().pane);
    EXPECT_FALSE(plan().backdrop);
    inputs.appearance.opacity = 0.0011f;
    EXPECT_TRUE(plan().pane);
    EXPECT_TRUE(plan().backdrop);
    inputs.pinchIndicator = {0.001f};
    EXPECT_FALSE(plan().pinchBar);
    inputs.pinchIndicator = {0.0011f};
    EXPECT_TRUE(plan().pinchBar);
    inputs.slide.texture = nullptr;
    EXPECT_FALSE(plan().pane);
    EXPECT_FALSE(plan().backdrop);
}

TEST_F(FramePlanTest, BlursBeginAtHalfAPixel) {
    inputs.tuning.backdropBlurSigma = 0.5f;
    EXPECT_TRUE(plan().backdrop);
    inputs.tuning.backdropBlurSigma = 0.4999f;
    EXPECT_FALSE(plan().backdrop);
    inputs.appearance.blur = 0.3f;
    inputs.spatial.backgroundBlurSigma = 0.4f;
    EXPECT_TRUE(plan().background.blurSigma);
    inputs.spatial.backgroundBlurSigma = 0.3f;
    EXPECT_FALSE(plan().background.blurSigma);
}

TEST_F(FramePlanTest, KernelsAreReusedWithinAQuarter) {
    inputs.appearance.blur = 2;
    EXPECT_EQ(plan().background.blurSigma, 2.f);
    inputs.appearance.blur = 2.2f;
    EXPECT_EQ(plan().background.blurSigma, 2.f);
    inputs.appearance.blur = 2.24f;
    EXPECT_EQ(plan().background.blurSigma, 2.f);
    EXPECT_EQ(kernels.overlay.rebuildCount(), 1);
    inputs.appearance.blur = 2.3f;
    EXPECT_EQ(plan().background.blurSigma, 2.3f);
    EXPECT_EQ(kernels.overlay.rebuildCount(), 2);
    EXPECT_EQ(kernels.backdrop.rebuildCount(), 0);
}

TEST_F(FramePlanTest, RectanglesHoldThePaneAndItsShadowAndNotMuchMore) {
    inputs.transform = {{0, 0}, 0.36f, 1};
    const PixelRect rect = plan().pane->place.rect;
    const double halfHeight = 0.36 * 540;
    EXPECT_LE(rect.y0, 540 - halfHeight * 1.22);
    EXPECT_GE(rect.y0, 540 - halfHeight * 1.22 - 4);
    EXPECT_LE(rect.x0, 960 - 0.36 * 960 - halfHeight * 0.22);
    EXPECT_GE(rect.x0, 960 - 0.36 * 960 - halfHeight * 0.22 - 6);
    inputs.transform.position = {3, 0};
    EXPECT_FALSE(plan().pane) << "outside the frame";
}

TEST_F(FramePlanTest, PanesSeenEdgeOnOrWithoutSizeAreDropped) {
    inputs.appearance.tiltX = 90;
    EXPECT_FALSE(plan().pane);
    inputs.appearance.tiltX = 0;
    for (const float scale : {0.f, -1.f, 0.001f, std::numeric_limits<float>::infinity(),
                              std::numeric_limits<float>::quiet_NaN()}) {
        inputs.transform.scale = scale;
        inputs.pinchIndicator = {1};
        EXPECT_FALSE(plan().pane) << scale;
        EXPECT_FALSE(plan().pinchBar) << scale;
    }
}

TEST_F(FramePlanTest, InFullModeTheCameraFillsTheFrame) {
    const BackgroundDraw background = plan(true).background;
    EXPECT_EQ(background.source, PictureSource::camera);
    EXPECT_TRUE(background.mirror);
    EXPECT_EQ(background.rect, (PixelRect{0, 0, 1920, 1080}));
}

TEST_F(FramePlanTest, FitShowsTheWholeSlideAndFillCoversTheFrame) {
    struct Case {
        int slideWidth, slideHeight;
        SwapFillMode fillMode;
        float2 stretch;
        PixelRect rect;
    };
    const PixelRect whole{0, 0, 1920, 1080};
    const Case cases[] = {
        {320, 90, SwapFillMode::fit, {1, 0.5f}, {0, 270, 1920, 810}},
        {320, 90, SwapFillMode::fill, {2, 1}, whole},
        {80, 90, SwapFillMode::fit, {0.5f, 1}, {480, 0, 1440, 1080}},
        {80, 90, SwapFillMode::fill, {1, 2}, whole},
        {160, 90, SwapFillMode::fit, {1, 1}, whole},
    };
    for (const Case& c : cases) {
        inputs.slide.texture =
            device->makeTexture(*test::slidePicture(c.slideWidth, c.slideHeight), {});
        mode = SwapComposition{c.fillMode};
        const BackgroundDraw background = plan().background;
        EXPECT_EQ(background.source, PictureSource::slide);
        EXPECT_NEAR(background.quad.vertices[4], c.stretch.x, 1e-6);
        EXPECT_NEAR(background.quad.vertices[13], c.stretch.y, 1e-6);
        EXPECT_EQ(background.rect, c.rect) << c.slideWidth;
        EXPECT_NEAR(background.drawnSizePX.x, c.stretch.x * 1920, 1e-2);
    }
}

TEST_F(FramePlanTest, SwappedThePaneShowsTheCameraInItsOwnShape) {
    mode = SwapComposition{SwapFillMode::fit};
    camera = {640, 480};
    const PaneDraw pane = *plan().pane;
    EXPECT_EQ(pane.content, PictureSource::camera);
    EXPECT_FLOAT_EQ(pane.uniforms.params.y, 640.f / 480);
    EXPECT_TRUE(pane.place.quad.isVDownward());
    EXPECT_FALSE(pane.place.quad.isULeftward());
    EXPECT_TRUE(plan(true).pane->place.quad.isULeftward()) << "mirrored";
    EXPECT_FALSE(plan(true).backdrop);
    inputs.slide.texture = nullptr;
    EXPECT_FALSE(plan().background.source) << "black";
    EXPECT_TRUE(plan().pane);
}

TEST_F(FramePlanTest, PixelsLeadBackToAMirroredPane) {
    mode = SwapComposition{SwapFillMode::fill};
    inputs.appearance.tiltY = 20;
    const PanePlace place = plan(true).pane->place;
    const glm::dvec3 d(project(place, 0.5, 0.25) - place.toPane.origin, 1);
    const double w = glm::dot(place.toPane.w, d);
    EXPECT_NEAR(glm::dot(place.toPane.x, d) / w, -0.5, 1e-4);
    EXPECT_NEAR(glm::dot(place.toPane.y, d) / w, -0.25, 1e-4);
}

TEST_F(FramePlanTest, TheModelIsDrawnAboveTheThresholdAndFinishedWhenAsked) {
    EXPECT_FALSE(plan().spatial) << "no model";
    inputs.spatial.texture = inputs.slide.texture;
    inputs.spatial.opacity = 0.001f;
    EXPECT_FALSE(plan().spatial);
    inputs.spatial.opacity = 0.5f;
    ASSERT_TRUE(plan().spatial);
    EXPECT_EQ(plan().spatial->opacity, 0.5f);
    EXPECT_FALSE(plan().spatial->finish) << "every strength is 0";
    inputs.spatial.lightWrapWidth = 0.1f;
    EXPECT_FALSE(plan().spatial->finish) << "a width is no strength";
    for (float SpatialInput::*strength :
         {&SpatialInput::levelStrength, &SpatialInput::lightWrapStrength,
          &SpatialInput::edgeSoftness}) {
        inputs.spatial.*strength = 0.001f;
        EXPECT_FALSE(plan().spatial->finish);
        inputs.spatial.*strength = 0.0011f;
        EXPECT_TRUE(plan().spatial->finish);
        inputs.spatial.*strength = 0;
    }
}

TEST_F(FramePlanTest, TheFinishIsPackedFieldByField) {
    inputs.spatial = {inputs.slide.texture, 0.9f, 0, 0.1f, 0.8f, 0.25f, 0.005f, 0.3f, 0, 0.4f};
    const SpatialUniforms uniforms{{0.9f, 0.1f, 0.8f, 0.25f}, {0.005f, 0.3f, 0.4f, 0}};
    EXPECT_EQ(plan().spatial->finish->uniforms, uniforms);
}

TEST_F(FramePlanTest, TheUnderlayIsBlurredStrictlyAboveHalfAPixel) {
    inputs.spatial.texture = inputs.slide.texture;
    inputs.spatial.edgeSoftness = 1;
    const auto sigma = [&](float wanted) {
        inputs.spatial.underlayBlurSigma = wanted;
        return plan().spatial->finish->underlayBlurSigma;
    };
    EXPECT_FALSE(sigma(0.5f));
    EXPECT_EQ(sigma(0.51f), 0.51f);
    EXPECT_EQ(sigma(2), 2.f);
    EXPECT_EQ(sigma(2.2f), 2.f);
    EXPECT_EQ(sigma(2.3f), 2.3f);
    EXPECT_EQ(kernels.underlay.rebuildCount(), 3);
    EXPECT_EQ(kernels.overlay.rebuildCount(), 0);
}

TEST_F(FramePlanTest, TheAnnotationIsDrawnAboveTheThreshold) {
    EXPECT_FALSE(plan().annotation);
    inputs.annotation = {inputs.slide.texture, true, 0.001f};
    EXPECT_FALSE(plan().annotation);
    inputs.annotation.opacity = 1.5f;
    EXPECT_EQ(plan().annotation->opacity, 1.5f) << "no upper bound";
    EXPECT_TRUE(plan().annotation->vDownward);
    inputs.annotation.originTopLeft = false;
    EXPECT_FALSE(plan().annotation->vDownward);
    inputs.annotation.opacity = std::numeric_limits<float>::quiet_NaN();
    EXPECT_FALSE(plan().annotation);
    inputs.annotation.opacity = std::numeric_limits<float>::infinity();
    EXPECT_TRUE(std::isfinite(plan().annotation->opacity));
}

StrokeBatch triangleBatch() {
    StrokeBatch batch;
    batch.vertexBuffer.assign(24, 1);
    batch.triangleStripVertexCount = 4;
    batch.color = {0.2f, 0.4f, 0.6f, 0.5f};
    batch.viewportWidthPX = 200;
    batch.viewportHeightPX = 100;
    return batch;
}

TEST_F(FramePlanTest, StrokesAreDrawnWhileDrawingIsEnabledAndVisible) {
    EXPECT_FALSE(plan().strokes) << "none";
    inputs.strokeBatches = sharedBatches({triangleBatch()});
    inputs.drawingOpacity = 0.0001f;
    EXPECT_TRUE(plan().strokes) << "any opacity above 0";
    inputs.drawingOpacity = 0;
    EXPECT_FALSE(plan().strokes);
    inputs.drawingOpacity = 1;
    inputs.isDrawingEnabled = false;
    EXPECT_FALSE(plan().strokes);
}

TEST_F(FramePlanTest, AStrokesViewportIsMappedOntoTheFrame) {
    inputs.strokeBatches = sharedBatches({triangleBatch()});
    inputs.drawingOpacity = 0.5f;
    inputs.drawingWidthScale = 0.55f;
    const StrokeUniforms uniforms = strokeUniforms(*plan().strokes, *inputs.strokeBatches->front());
    EXPECT_EQ(uniforms.mvp * float4(0, 0, 0, 1), float4(-1, 1, 0, 1));
    EXPECT_EQ(uniforms.mvp * float4(200, 100, 0, 1), float4(1, -1, 0, 1));
    EXPECT_EQ(uniforms.color, float4(0.2f, 0.4f, 0.6f, 0.25f));
    EXPECT_EQ(uniforms.widthScale, 0.55f);
}

TEST(DrawnVertexCount, IsNeverMoreThanTheBatchHolds) {
    StrokeBatch batch = triangleBatch();
    EXPECT_EQ(drawnVertexCount(batch), 4);
    batch.triangleStripVertexCount = 1000;
    EXPECT_EQ(drawnVertexCount(batch), 4);
    batch.triangleStripVertexCount = 3;
    EXPECT_EQ(drawnVertexCount(batch), 0);
    batch = triangleBatch();
    batch.color.a = std::numeric_limits<float>::quiet_NaN();
    EXPECT_EQ(drawnVertexCount(batch), 0);
}

TEST_F(FramePlanTest, DotsStandWhereTheHandsAreWithXTurnedRound) {
    inputs.twoHandDiscoverability = {0.5f, 0.001f, {-0.3f, 0.2f}, {0.4f, -0.1f}};
    const TwoHandDotsDraw dots = *plan().twoHandDots;
    EXPECT_EQ(dots.uniforms.params, float4(0.3f, 0.2f, -0.4f, -0.1f));
    EXPECT_EQ(dots.uniforms.params2, float4(0.5f, 0.001f, 0.011f, 1920.f / 1080));
    EXPECT_EQ(dots.uniforms.tint, float4(0.722f, 0.831f, 1.0f, 0.0015f));
    // 0.0125 clip units around (0.3, 0.2), x the narrower by the aspect: 6.75 pixels each way.
    EXPECT_EQ(dots.rects[0], (PixelRect{1241, 425, 1255, 439}));
    EXPECT_TRUE(dots.rects[1].isEmpty()) << "at the threshold";
    inputs.twoHandDiscoverability.leftDotOpacity = 0.001f;
    EXPECT_FALSE(plan().twoHandDots);
}

TEST_F(FramePlanTest, RectanglesOfDotsThatTouchAreOne) {
    inputs.twoHandDiscoverability = {1, 1, {0, 0}, {0.01f, 0.005f}};
    const auto rects = plan().twoHandDots->rects;
    EXPECT_FALSE(rects[0].isEmpty());
    EXPECT_TRUE(rects[1].isEmpty());
    inputs.twoHandDiscoverability.rightDotPosition = {0.5f, 0.5f};
    EXPECT_FALSE(plan().twoHandDots->rects[1].isEmpty());
}

TEST_F(FramePlanTest, DotsWithoutAPlaceAreNotDrawn) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    inputs.twoHandDiscoverability = {1, nan, {nan, 0}, {0, 0}};
    EXPECT_FALSE(plan().twoHandDots);
    inputs.twoHandDiscoverability = {1, 1, {1e30f, 0}, {nan, 0}};
    EXPECT_FALSE(plan().twoHandDots) << "far outside";
    inputs.twoHandDiscoverability = {7, 0, {0, 0}, {0, 0}};
    EXPECT_EQ(plan().twoHandDots->uniforms.params2.x, 1);
}

TEST_F(FramePlanTest, DarkeningBeginsAboveTheThresholdAndEndsAtBlack) {
    swapDarken = 0.001f;
    EXPECT_FALSE(plan().darkenAlpha);
    swapDarken = 0.0011f;
    EXPECT_EQ(plan().darkenAlpha, 0.0011f);
    swapDarken = 2;
    EXPECT_EQ(plan().darkenAlpha, 1.f);
    for (const float nothing : {-1.f, 0.f, std::numeric_limits<float>::quiet_NaN()}) {
        swapDarken = nothing;
        EXPECT_FALSE(plan().darkenAlpha);
    }
}

TEST(PrefilteredLevel, IsTheSmallestThatIsNotSmallerThanThePane) {
    const FrameSize texture{2048, 1152};
    EXPECT_EQ(prefilteredLevel(texture, 5, {3000, 1700}), 0);
    EXPECT_EQ(prefilteredLevel(texture, 5, {2048, 1152}), 0);
    EXPECT_EQ(prefilteredLevel(texture, 5, {1024, 576}), 1);
    EXPECT_EQ(prefilteredLevel(texture, 5, {1024, 577}), 0);
    EXPECT_EQ(prefilteredLevel(texture, 5, {691, 389}), 1);
    EXPECT_EQ(prefilteredLevel(texture, 5, {3, 2}), 4);
    EXPECT_EQ(prefilteredLevel(texture, 1, {3, 2}), 0);
}

} // namespace
} // namespace lanternfly
