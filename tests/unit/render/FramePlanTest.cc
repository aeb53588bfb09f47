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
    FramePlan plan(bool mirror = false) { return planFrame(inputs, fullHd, mirror, kernels); }

    std::shared_ptr<CpuDevice> device = CpuDevice::create();
    CompositorInputs inputs;
    FrameKernels kernels;
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
