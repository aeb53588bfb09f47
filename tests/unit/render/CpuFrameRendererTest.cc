#include "render/cpu/CpuFrameRenderer.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "ReferenceRenderer.h"
#include "base/WorkerPool.h"
#include "gpu/cpu/CpuDevice.h"
#include "render/FrameCompositor.h"
#include "render/InkTessellator.h"
#include "support/Pictures.h"
#include "support/Png.h"
#include "support/scenes/Scenes.h"

namespace lanternfly {
namespace {

using test::cameraScene;
using test::difference;
using test::Scene;
using test::slidePicture;

class SceneTest : public ::testing::TestWithParam<Scene> {
protected:
    std::shared_ptr<CpuDevice> device = CpuDevice::create();
};

const CpuTexture* cpu(const TextureRef& texture) {
    return static_cast<const CpuTexture*>(texture.get());
}

const PixelBuffer* levelFor(const CpuTexture* texture, float2 drawnSizePX) {
    if (!texture) return nullptr;
    return &texture->level(prefilteredLevel({texture->width(), texture->height()},
                                            texture->levelCount(), drawnSizePX));
}

// By the formulas, from the same inputs.
PixelBufferRef reference(CpuDevice& device, const Scene& scene) {
    const CompositorInputs inputs = test::inputsOn(device, scene);
    FrameKernels kernels;
    const FramePlan plan = planFrame(inputs, scene.request(), kernels);
    const auto camera = test::cameraPicture(scene);
    // Halved as a slide is, when the camera is the pane's content.
    TextureOptions options;
    options.prefilteredLevels = true;
    const TextureRef cameraTexture = device.makeTexture(*camera, options);
    const CpuTexture* slide = cpu(inputs.slide.texture);
    test::ReferencePictures pictures{.camera = *camera, .output = scene.output};
    pictures.slideBackground = levelFor(slide, plan.background.drawnSizePX);
    if (pictures.slideBackground)
        pictures.slideLevelScale = static_cast<float>(pictures.slideBackground->width()) /
                                   static_cast<float>(slide->width());
    if (plan.pane) {
        const bool isCamera = plan.pane->content == PictureSource::camera;
        pictures.paneContent =
            levelFor(isCamera ? cpu(cameraTexture) : slide, plan.pane->drawnSizePX);
    }
    if (plan.spatial) pictures.spatial = &cpu(inputs.spatial.texture)->level(0);
    if (plan.annotation) pictures.annotation = &cpu(inputs.annotation.texture)->level(0);
    return test::referenceFrame(plan, pictures);
}

TEST_P(SceneTest, IsWithinOneStepOfTheFormulas) {
    const Scene& scene = GetParam();
    if (scene.camera) GTEST_SKIP() << "the reference takes cameras of the output's size";
    const auto actual = test::drawn(device, scene);
    const auto expected = reference(*device, scene);
    const auto delta = difference(*actual, *expected);
    if (scene.hasBlur()) {
        // A blur is approximated; everything around it is not.
        EXPECT_GT(delta.psnr(), 46);
        EXPECT_LE(delta.largest, 8);
    } else {
        EXPECT_LE(delta.largest, 1);
        EXPECT_LT(static_cast<double>(delta.differing),
                  0.01 * scene.output.width * scene.output.height);
    }
    if (HasFailure()) {
        const std::string path = std::string(LANTERNFLY_BUILD_DIR "/") + scene.name;
        test::writePng(*actual, path + ".actual.png");
        test::writePng(*expected, path + ".expected.png");
    }
}

TEST_P(SceneTest, IsTheSameOnEveryInstructionSet) {
    const Scene& scene = GetParam();
    const auto expected = test::drawn(device, scene);
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        const auto actual = test::drawn(device, scene);
        EXPECT_EQ(difference(*actual, *expected).differing, 0) << hwy::TargetName(target);
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

INSTANTIATE_TEST_SUITE_P(All, SceneTest, ::testing::ValuesIn(test::scenes()),
                         [](const auto& scene) { return scene.param.name; });

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

std::vector<StrokeBatchRef> waves(int count, double shiftPX = 0) {
    std::vector<StrokeBatch> batches;
    for (int i = 0; i < count; ++i) {
        Stroke wave{.color = i % 2 ? "#FFD23FE6" : "#2E6BE680", .width = 7, .points = {}};
        for (int point = 0; point < 60; ++point)
            wave.points.push_back(
                {10.0 + 5 * point + shiftPX, 20 + 17.0 * i + 30 * std::sin(0.1 * point + i)});
        batches.emplace_back(
            StrokeGeometry::tessellate(wave, StrokeGeometry::InkProfile::studioDraw, 3, false),
            DrawingViewport{320, 180});
    }
    return *sharedBatches(std::move(batches));
}

// Strokes that stand still are held in a layer, and drawn from there.
TEST(HeldInk, LooksAsInkThatIsDrawnAnew) {
    const auto device = CpuDevice::create();
    const auto camera = cameraScene(320, 180);
    const auto frame = [&](FrameCompositor& compositor) {
        return compositor.composite(camera, false, FullComposition{}, 0);
    };
    const auto kept = FrameCompositor::create(device, 320, 180);
    const auto waves8 = waves(8), moved = waves(3, 4.5);
    using Ink = std::vector<StrokeBatchRef>;
    Ink changed = waves8;
    changed[2] = moved[2];
    const Ink grown{waves8[0], waves8[1], waves8[4], waves8[5], moved[0]};
    struct Step {
        const char* name;
        Ink ink;
        float opacity = 1;
    };
    const Step steps[] = {
        {"new", waves8},
        {"held", waves8},
        {"still held", waves8},
        {"one changed", changed},
        {"the rest held", changed},
        {"some gone, one new", grown},
        {"all held", grown},
        {"one more, last", {waves8[0], waves8[1], waves8[4], waves8[5], moved[0], moved[1]}},
        {"it grows", {waves8[0], waves8[1], waves8[4], waves8[5], moved[0], moved[2]}},
        {"fading", {waves8[0], waves8[1], waves8[4], waves8[5], moved[0]}, 0.5f},
        {"faded", {waves8[0], waves8[1], waves8[4], waves8[5], moved[0]}, 0.5f},
        {"twice the same", {waves8[0], waves8[0], waves8[1]}},
        {"twice the same, held", {waves8[0], waves8[0], waves8[1]}},
        {"none", {}},
        {"again", waves8},
        {"again held", waves8},
    };
    for (const Step& step : steps) {
        const auto ink = std::make_shared<const Ink>(step.ink);
        kept->setSharedStrokeBatches(ink);
        kept->setDrawingOpacity(step.opacity);
        const auto fresh = FrameCompositor::create(device, 320, 180);
        fresh->setSharedStrokeBatches(ink);
        fresh->setDrawingOpacity(step.opacity);
        // A rounding for each stroke that crosses a pixel.
        const auto delta = difference(*frame(*kept), *frame(*fresh));
        EXPECT_LE(delta.largest, 3) << step.name;
        EXPECT_GT(delta.psnr(), 55) << step.name;
    }
}

// Bands of a frame with ink are shared among threads, each of which draws a part of every stroke.
TEST(SharedBands, AreWhatOneThreadDraws) {
    const auto device = CpuDevice::create();
    const auto camera = cameraScene(320, 180);
    const auto strokes = waves(8), moved = waves(2, 4.5);
    const auto frames = [&] {
        const auto compositor = FrameCompositor::create(device, 320, 180);
        compositor->setSlideTexture(device->makeTexture(*test::slidePicture(256, 144), {}), false);
        compositor->setSpatialTexture(device->makeTexture(*test::modelPicture(200, 180), {}));
        std::vector<PixelBufferRef> drawn;
        for (const bool hasBlur : {false, true})
            for (const bool hasFinish : {false, true})
                for (const auto& last : {strokes[7], strokes[7], moved[0], moved[1]}) {
                    VisionOSTuning tuning;
                    tuning.backdropBlurSigma = hasBlur ? 12 : 0;
                    compositor->setTuning(tuning);
                    compositor->setSpatialEdgeSoftness(hasFinish ? 0.3f : 0);
                    auto ink = strokes;
                    ink.back() = last;
                    compositor->setSharedStrokeBatches(
                        std::make_shared<const std::vector<StrokeBatchRef>>(std::move(ink)));
                    drawn.push_back(compositor->composite(camera, true, FullComposition{}, 0.2f));
                }
        return drawn;
    };
    const auto shared = frames();
    std::vector<PixelBufferRef> alone;
    // From inside a part of the pool's work there is no help.
    WorkerPool::shared().forEach(2, [&](size_t part, size_t) {
        if (part == 0) alone = frames();
    });
    ASSERT_EQ(alone.size(), shared.size());
    for (size_t i = 0; i < shared.size(); ++i)
        EXPECT_EQ(difference(*shared[i], *alone[i]).largest, 0) << i;
}

// Ink of layers leaves out vertices that change it by less than can be seen.
TEST(LeanInk, LooksAsTheWholeMesh) {
    const auto device = CpuDevice::create();
    const auto camera = cameraScene(320, 180);
    constexpr DrawingViewport viewport{320, 180};
    std::vector<StrokeBatch> lean, whole;
    for (int i = 0; i < 6; ++i) {
        Stroke wave{.color = i % 2 ? "#FFFFFFE6" : "#000000FF", .width = 7, .points = {}};
        for (int point = 0; point < 150; ++point)
            wave.points.push_back({10.3 + 2 * point, 20 + 27.0 * i + 20 * std::sin(0.05 * point)});
        auto batch = InkTessellator{}.batch(wave, viewport);
        ASSERT_TRUE(batch);
        lean.push_back(std::move(*batch));
        whole.emplace_back(
            StrokeGeometry::tessellate(wave, StrokeGeometry::InkProfile::studioDraw, 3, false),
            viewport);
        ASSERT_LT(4 * lean.back().triangleStripVertexCount, whole.back().triangleStripVertexCount);
    }
    const auto frame = [&](std::vector<StrokeBatch> batches) {
        const auto compositor = FrameCompositor::create(device, 320, 180);
        compositor->setStrokeBatches(std::move(batches));
        return compositor->composite(camera, false, FullComposition{}, 0);
    };
    const auto delta = difference(*frame(lean), *frame(whole));
    EXPECT_LE(delta.largest, 8);
    EXPECT_GT(delta.psnr(), 50);
}

// Where a bend is tighter than the stroke is wide its inner edge folds, and ink is blended several
// times; how often differs there.
TEST(LeanInk, LooksAlmostAsTheWholeMeshInTightBends) {
    const auto device = CpuDevice::create();
    const auto camera = cameraScene(320, 180);
    constexpr DrawingViewport viewport{320, 180};
    Stroke loops{.color = "#FFD23FE6", .width = 7, .points = {}};
    for (int i = 0; i < 400; ++i)
        loops.points.push_back(
            {20 + 0.7 * i + 9 * std::sin(0.11 * i), 90 + 60 * std::sin(0.025 * i)});
    const auto frame = [&](StrokeBatch batch) {
        const auto compositor = FrameCompositor::create(device, 320, 180);
        compositor->setStrokeBatches({std::move(batch)});
        return compositor->composite(camera, false, FullComposition{}, 0);
    };
    const auto lean = InkTessellator{}.batch(loops, viewport);
    ASSERT_TRUE(lean);
    const StrokeBatch whole(
        StrokeGeometry::tessellate(loops, StrokeGeometry::InkProfile::studioDraw, 3, false),
        viewport);
    ASSERT_LT(4 * lean->triangleStripVertexCount, whole.triangleStripVertexCount);
    EXPECT_GT(difference(*frame(*lean), *frame(whole)).psnr(), 45);
}

// Ink whose vertices, colours and counts are anything.
TEST(HostileValues, NeverStopAStroke) {
    const auto device = CpuDevice::create();
    const auto compositor = FrameCompositor::create(device, 200, 120);
    const auto camera = cameraScene(200, 120);
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
                            60,
                            199.5f,
                            1e-45f,
                            119.5f,
                            5000};
    uint32_t seed = 7;
    const auto next = [&] {
        seed = test::hash(seed + 1);
        return seed;
    };
    const auto anything = [&] { return values[next() % std::size(values)]; };
    const auto sane = [&] { return static_cast<float>(next() % 200); };
    for (int round = 0; round < 2000; ++round) {
        StrokeBatch batch;
        for (int i = 0; i < 6 * 8; ++i)
            batch.vertexBuffer.push_back(next() % 4 == 0 ? anything() : sane());
        batch.triangleStripVertexCount = static_cast<int>(next() % 12);
        batch.color = {0.5f, 0.6f, 0.7f, 1};
        batch.viewportWidthPX = 200;
        batch.viewportHeightPX = 120;
        if (next() % 4 == 0) batch.color[static_cast<int>(next() % 4)] = anything();
        if (next() % 8 == 0) batch.viewportWidthPX = anything();
        compositor->setStrokeBatches({batch, batch});
        compositor->setDrawingWidthScale(anything());
        compositor->setDrawingOpacity(1);
        ASSERT_NE(compositor->composite(camera, false, FullComposition{}, 0), nullptr);
    }
}

TEST(HostileValues, NeverStopALayer) {
    const auto device = CpuDevice::create();
    const auto compositor = FrameCompositor::create(device, 100, 60);
    const auto camera = cameraScene(100, 60);
    constexpr float infinite = std::numeric_limits<float>::infinity();
    const float values[] = {std::numeric_limits<float>::quiet_NaN(),
                            infinite,
                            -infinite,
                            0,
                            1,
                            -1,
                            1e-30f,
                            1e30f,
                            0.5f,
                            0.0011f,
                            1e-45f,
                            80};
    const TextureRef textures[] = {
        nullptr,
        device->makeTexture(*test::modelPicture(100, 60), {}),
        device->makeTexture(*test::modelPicture(37, 61), {}),
        device->makeTexture(*test::modelPicture(1, 1), {}),
        device->makeTexture(*test::noisePicture(3, 200), {}),
        device->makeTexture(*slidePicture(100, 60, 0), {}), // clear
    };
    const CompositionMode modes[] = {FullComposition{}, SwapComposition{SwapFillMode::fit},
                                     SwapComposition{SwapFillMode::fill}};
    uint32_t seed = 3;
    const auto pick = [&](const auto& list) {
        seed = test::hash(seed + 1);
        return list[seed % std::size(list)];
    };
    for (int round = 0; round < 1500; ++round) {
        compositor->setSlideTexture(pick(textures), round % 2 == 0);
        compositor->setAppearance({pick(values), pick(values), pick(values), pick(values)});
        compositor->setAnnotationTexture(pick(textures), round % 3 == 0);
        compositor->setAnnotationOpacity(pick(values));
        compositor->setSpatialTexture(pick(textures));
        compositor->setSpatialOpacity(pick(values));
        compositor->setSpatialLevelMatch(pick(values), pick(values), pick(values));
        compositor->setSpatialLightWrap(pick(values), pick(values));
        compositor->setSpatialUnderlayBlurSigma(pick(values));
        compositor->setSpatialBackgroundBlurSigma(pick(values));
        compositor->setSpatialEdgeSoftness(pick(values));
        compositor->setTwoHandDiscoverability({pick(values),
                                               pick(values),
                                               {pick(values), pick(values)},
                                               {pick(values), pick(values)}});
        ASSERT_NE(compositor->composite(camera, round % 2 == 0, pick(modes), pick(values)),
                  nullptr);
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
        const TextureRef layer = device->makeTexture(*slidePicture(5, side, 200), {});
        compositor->setSpatialTexture(layer);
        compositor->setSpatialEdgeSoftness(0.5f);
        compositor->setSpatialUnderlayBlurSigma(3);
        compositor->setAnnotationTexture(layer, false);
        for (const int cameraSide : {1, side, 40})
            for (const CompositionMode& mode :
                 {CompositionMode(FullComposition{}),
                  CompositionMode(SwapComposition{SwapFillMode::fill})})
                EXPECT_NE(
                    compositor->composite(cameraScene(cameraSide, 1 + side / 2), true, mode, 0.5f),
                    nullptr);
    }
}

} // namespace
} // namespace lanternfly
