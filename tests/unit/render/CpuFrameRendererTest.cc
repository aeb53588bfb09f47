#include "render/cpu/CpuFrameRenderer.h"

#include <limits>

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "ReferenceRenderer.h"
#include "gpu/cpu/CpuDevice.h"
#include "render/FrameCompositor.h"
#include "support/Pictures.h"
#include "support/Png.h"

namespace lanternfly {
namespace {

using test::cameraScene;
using test::difference;
using test::slidePicture;

struct Scene {
    const char* name;
    CompositorInputs inputs;
    bool mirror = false;
    bool originTopLeft = false;
    int width = 480, height = 270;
    int slideWidth = 512, slideHeight = 288;
    int slideAlpha = 255;
};

CompositorInputs look(OverlayTransform transform, OverlayAppearance appearance,
                      VisionOSTuning tuning = {}, float pinch = 0) {
    CompositorInputs inputs;
    inputs.transform = transform;
    inputs.appearance = appearance;
    inputs.tuning = tuning;
    inputs.pinchIndicator = {pinch};
    return inputs;
}

VisionOSTuning strongGlass() {
    VisionOSTuning tuning;
    tuning.cornerRadius = 0.2f;
    tuning.shadowRadius = 0.4f;
    tuning.quadPad = 0.45f;
    tuning.shadowStrength = 0.6f;
    tuning.rimWidth = 0.06f;
    tuning.rimMin = 0.1f;
    tuning.rimMax = 0.5f;
    tuning.specularIntensity = 0.2f;
    return tuning;
}

std::vector<Scene> scenes() {
    VisionOSTuning noShadow;
    noShadow.shadowStrength = 0;
    VisionOSTuning circle = strongGlass();
    circle.cornerRadius = 1;
    VisionOSTuning sharp = strongGlass();
    sharp.rimWidth = sharp.shadowRadius = sharp.specularHeight = sharp.cornerRadius = 0;
    const OverlayTransform middle{{0.013f, -0.021f}, 0.5f, 1};
    return {
        {"flat", look(middle, {})},
        {"tilted", look(middle, {1, 0, 14, -23}, strongGlass(), 1)},
        {"tiltedMirrored", look({{-0.2f, 0.1f}, 0.4f, 1}, {0.8f, 0, -14, 23}, strongGlass(), 0.5f),
         true},
        {"topLeftOrigin", look(middle, {1, 0, 5, 9}, strongGlass()), false, true},
        {"withoutShadow", look(middle, {1, 0, 0, 12}, noShadow)},
        {"seeThroughSlide", look(middle, {0.9f, 0, 3, -3}, strongGlass()), false, false, 480, 270,
         512, 288, 120},
        {"portrait", look({{0.1f, 0}, 0.2f, 1}, {1, 0, 10, 10}, strongGlass()), false, false, 480,
         270, 200, 300},
        {"circle", look({{0, 0}, 0.3f, 1}, {1, 0, 0, 0}, circle), false, false, 480, 270, 256, 256},
        {"hardEdges", look(middle, {1, 0, 4, 4}, sharp)},
        {"partlyOutside", look({{-0.5f, 0.45f}, 0.6f, 1}, {1, 0, -20, 30}, strongGlass(), 1)},
        {"coversTheFrame", look({{0, 0}, 3, 1}, {1, 0, 20, 20}, strongGlass())},
        {"speck", look({{0.1f, 0.1f}, 0.004f, 1}, {1, 0, 20, 20}, strongGlass(), 1)},
        {"oddSize", look({{-0.3f, 0.1f}, 0.45f, 1}, {1, 0, 8, -8}, strongGlass(), 1), true, false,
         333, 187},
    };
}

class SceneTest : public ::testing::TestWithParam<Scene> {
protected:
    std::shared_ptr<CpuDevice> device = CpuDevice::create();

    struct Drawn {
        FramePlan plan;
        PixelBufferRef camera;
        PixelBufferRef output;
        TextureRef slide;
    };
    Drawn draw(Scene scene) {
        Drawn drawn;
        TextureOptions options;
        options.prefilteredLevels = true;
        drawn.slide = device->makeTexture(
            *slidePicture(scene.slideWidth, scene.slideHeight, scene.slideAlpha), options);
        scene.inputs.slide = {drawn.slide, scene.originTopLeft};
        const FrameSize size{scene.width, scene.height};
        FrameKernels kernels;
        drawn.plan = planFrame(scene.inputs, size, scene.mirror, kernels);
        drawn.camera = cameraScene(scene.width, scene.height);
        drawn.output = PixelBuffer::create(scene.width, scene.height);
        CpuFrameRenderer renderer(size);
        EXPECT_EQ(
            renderer.draw(drawn.plan, {drawn.camera.get(), drawn.slide.get(), drawn.output.get()}),
            "");
        return drawn;
    }
    const PixelBuffer& sampledLevel(const Drawn& drawn) {
        const auto& texture = static_cast<const CpuTexture&>(*drawn.slide);
        return texture.level(prefilteredLevel({texture.width(), texture.height()},
                                              texture.levelCount(), drawn.plan.pane->drawnSizePX));
    }
};

TEST_P(SceneTest, IsWithinOneStepOfTheFormulas) {
    const Drawn drawn = draw(GetParam());
    ASSERT_TRUE(drawn.plan.pane);
    const auto expected = test::referenceFrame(drawn.plan, *drawn.camera, &sampledLevel(drawn));
    const auto delta = difference(*drawn.output, *expected);
    EXPECT_LE(delta.largest, 1);
    EXPECT_LT(static_cast<double>(delta.differing), 0.01 * GetParam().width * GetParam().height);
    if (delta.largest > 1) {
        test::writePng(*drawn.output,
                       std::string(LANTERNFLY_BUILD_DIR "/") + GetParam().name + ".actual.png");
        test::writePng(*expected,
                       std::string(LANTERNFLY_BUILD_DIR "/") + GetParam().name + ".expected.png");
    }
}

TEST_P(SceneTest, IsTheSameOnEveryInstructionSet) {
    Scene scene = GetParam();
    scene.inputs.appearance.blur = 3;
    scene.inputs.tuning.backdropBlurSigma = 12;
    const auto expected = draw(scene).output;
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        const auto actual = draw(scene).output;
        EXPECT_EQ(difference(*actual, *expected).differing, 0) << hwy::TargetName(target);
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

INSTANTIATE_TEST_SUITE_P(All, SceneTest, ::testing::ValuesIn(scenes()),
                         [](const auto& scene) { return std::string(scene.param.name); });

TEST_F(SceneTest, AFrostedPaneLiesOverTheBlurredCamera) {
    for (const bool mirror : {false, true}) {
        Scene scene{"frosted", look({{-0.1f, 0}, 0.5f, 1}, {0.5f, 0, 9, 12}, strongGlass()),
                    mirror};
        scene.inputs.tuning.backdropBlurSigma = 12;
        const Drawn drawn = draw(scene);
        ASSERT_TRUE(drawn.plan.backdrop);
        const auto expected = test::referenceFrame(drawn.plan, *drawn.camera, &sampledLevel(drawn));
        EXPECT_GT(difference(*drawn.output, *expected).psnr(), 52);
        EXPECT_LE(difference(*drawn.output, *expected).largest, 6);
    }
}

TEST_F(SceneTest, TheCameraIsBlurredBehindALargeOverlay) {
    for (const bool mirror : {false, true}) {
        Scene scene{"blurred", look({{0, 0}, 0.2f, 1}, {1, 12, 0, 0}), mirror};
        const Drawn drawn = draw(scene);
        ASSERT_TRUE(drawn.plan.background.blurSigma);
        const auto expected = test::referenceFrame(drawn.plan, *drawn.camera, &sampledLevel(drawn));
        EXPECT_GT(difference(*drawn.output, *expected).psnr(), 46);
    }
}

// Anything may come in through the setters; the frame must still come out.
TEST(HostileValues, NeverStopAFrame) {
    const auto device = CpuDevice::create();
    const auto compositor = FrameCompositor::create(device, 200, 120);
    const auto camera = cameraScene(200, 120);
    compositor->setSlideTexture(device->makeTexture(*slidePicture(64, 36), {}), true);
    constexpr float infinite = std::numeric_limits<float>::infinity();
    const float values[] = {std::numeric_limits<float>::quiet_NaN(),
                            infinite,
                            -infinite,
                            0,
                            -0.f,
                            -1,
                            1e-30f,
                            -1e30f,
                            1e30f,
                            3e38f,
                            90,
                            270,
                            1e-45f,
                            100,
                            5000};
    constexpr int fieldCount = 18;
    uint32_t seed = 1;
    int count = 0;
    const auto compositeWith = [&](const std::vector<std::pair<int, float>>& changes) {
        OverlayTransform transform{{0.1f, 0.1f}, 0.5f, 1};
        OverlayAppearance appearance{1, 0, 10, 10};
        VisionOSTuning tuning;
        float pinch = 1;
        float* fields[fieldCount] = {&transform.position.x,
                                     &transform.position.y,
                                     &transform.scale,
                                     &appearance.opacity,
                                     &appearance.blur,
                                     &appearance.tiltX,
                                     &appearance.tiltY,
                                     &tuning.cornerRadius,
                                     &tuning.quadPad,
                                     &tuning.shadowRadius,
                                     &tuning.shadowStrength,
                                     &tuning.rimWidth,
                                     &tuning.rimMin,
                                     &tuning.rimMax,
                                     &tuning.specularHeight,
                                     &tuning.specularIntensity,
                                     &tuning.backdropBlurSigma,
                                     &pinch};
        for (const auto& [field, value] : changes)
            *fields[field] = value;
        compositor->setTransform(transform);
        compositor->setAppearance(appearance);
        compositor->setTuning(tuning);
        compositor->setPinchIndicator({pinch});
        ASSERT_NE(compositor->composite(camera, count++ % 2 == 0, FullComposition{}, 0), nullptr);
    };
    for (int field = 0; field < fieldCount; ++field)
        for (const float value : values)
            compositeWith({{field, value}});
    for (int round = 0; round < 600; ++round) {
        std::vector<std::pair<int, float>> changes;
        for (int i = 0; i < 4; ++i) {
            seed = test::hash(seed + 1);
            changes.emplace_back(static_cast<int>(seed % fieldCount),
                                 values[(seed >> 8) % std::size(values)]);
        }
        compositeWith(changes);
    }
}

TEST(HostileValues, TinyFramesAndTexturesAreDrawn) {
    const auto device = CpuDevice::create();
    for (const int side : {1, 2, 3, 7, 17}) {
        const auto compositor = FrameCompositor::create(device, side, 1 + side / 2);
        compositor->setSlideTexture(device->makeTexture(*slidePicture(side, 1), {}), false);
        compositor->setTransform({{0, 0}, 0.9f, 1});
        compositor->setAppearance({0.9f, 8, 20, 20});
        VisionOSTuning tuning;
        tuning.backdropBlurSigma = 20;
        compositor->setTuning(tuning);
        for (const int cameraSide : {1, side, 40})
            EXPECT_NE(compositor->composite(cameraScene(cameraSide, 1 + side / 2), true,
                                            FullComposition{}, 0),
                      nullptr);
    }
}

} // namespace
} // namespace lanternfly
