#include "Scenes.h"

#include <cmath>
#include <functional>
#include <numbers>

#include "render/StrokeGeometry.h"
#include "support/Pictures.h"

namespace lanternfly::test {

namespace {

constexpr OverlayTransform middle{{0.013f, -0.021f}, 0.5f, 1};
constexpr DrawingViewport viewport{960, 540};

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

using Path = std::function<double2(double)>; // 0…1 to the viewport

StrokeBatch stroke(const Path& path, const char* color, double width, int points = 60,
                   bool isClosedLoop = false) {
    Stroke authored{.color = color, .width = width, .points = {}};
    for (int i = 0; i < points; ++i) {
        const double2 p = path(static_cast<double>(i) / (isClosedLoop ? points : points - 1));
        authored.points.push_back({p.x, p.y});
    }
    const auto mesh = StrokeGeometry::tessellate(authored, StrokeGeometry::InkProfile::studioDraw,
                                                 isClosedLoop ? 0 : 2, isClosedLoop);
    return StrokeBatch(mesh, viewport);
}

StrokeBatch wave(double y, const char* color, double width) {
    return stroke(
        [y](double t) {
            // Off the pixel grid: whose a pixel on an edge is, is a matter of rounding.
            return double2(80.31 + 800 * t, y + 0.17 + 60 * std::sin(t * 4 * std::numbers::pi));
        },
        color, width);
}
// Crosses itself twice.
StrokeBatch pretzel() {
    return stroke(
        [](double t) {
            const double a = t * 2 * std::numbers::pi * 0.95;
            return double2(480 + 260 * std::sin(2 * a), 280 + 180 * std::sin(3 * a));
        },
        "#FF5A36A0", 26, 90);
}
StrokeBatch ring() {
    return stroke(
        [](double t) {
            const double a = t * 2 * std::numbers::pi;
            return double2(700.37 + 9 * std::cos(a), 140.23 + 9 * std::sin(a));
        },
        "#30E0FF", 18, 24, true);
}

Scene paneScene(const char* name, const char* shows, OverlayTransform transform,
                OverlayAppearance appearance, VisionOSTuning tuning = strongGlass()) {
    Scene scene;
    scene.name = name;
    scene.shows = shows;
    scene.inputs.transform = transform;
    scene.inputs.appearance = appearance;
    scene.inputs.tuning = tuning;
    return scene;
}

Scene bareScene(const char* name, const char* shows) {
    Scene scene;
    scene.name = name;
    scene.shows = shows;
    scene.slide.reset();
    return scene;
}

void addPanes(std::vector<Scene>& all) {
    const auto add = [&](Scene scene) -> Scene& { return all.emplace_back(std::move(scene)); };
    add(bareScene("camera", "nothing but the camera"));
    add(bareScene("cameraMirrored", "the camera, left and right exchanged")).mirror = true;
    Scene& scaled = add(bareScene("cameraScaled", "a camera of another size fills the frame"));
    scaled.camera = FrameSize{333, 250};
    add(paneScene("paneAtItsDefaults", "a pane with the default look", {{-0.2f, 0.15f}, 0.36f, 1},
                  {}, {}));
    add(paneScene("paneFlat", "a flat pane with strong glass", middle, {}));
    add(paneScene("paneTilted", "a tilted pane over its shadow", middle, {1, 0, 14, -23}));
    add(paneScene("paneTiltedMirrored", "place and tilt follow the mirrored camera",
                  {{-0.2f, 0.1f}, 0.4f, 1}, {0.8f, 0, -14, 23}))
        .mirror = true;
    add(paneScene("paneHalfVisible", "opacity one half", middle, {0.5f, 0, 6, 6}));
    add(paneScene("paneBarelyVisible", "opacity one tenth", middle, {0.1f, 0, 6, 6}));
    add(paneScene("paneUpsideDown", "a slide whose first row is the bottom", middle, {1, 0, 5, 9}))
        .slide->originTopLeft = false;
    add(paneScene("paneSeeThrough", "a slide with alpha", middle, {0.9f, 0, 3, -3})).slide->alpha =
        120;
    add(paneScene("panePortrait", "a pane higher than wide", {{0.1f, 0}, 0.2f, 1}, {1, 0, 10, 10}))
        .slide->size = {200, 300};
    VisionOSTuning circle = strongGlass();
    circle.cornerRadius = 1;
    add(paneScene("paneCircle", "a square pane with full corner radius", {{0, 0}, 0.3f, 1}, {},
                  circle))
        .slide->size = {256, 256};
    VisionOSTuning noShadow;
    noShadow.shadowStrength = 0;
    add(paneScene("paneWithoutShadow", "content and rim only", middle, {1, 0, 0, 12}, noShadow));
    VisionOSTuning hard = strongGlass();
    hard.rimWidth = hard.shadowRadius = hard.specularHeight = hard.cornerRadius = 0;
    add(paneScene("paneHardEdges", "every soft width is 0", middle, {1, 0, 4, 4}, hard));
    add(paneScene("panePartlyOutside", "cut by the frame's corner", {{-0.5f, 0.45f}, 0.6f, 1},
                  {1, 0, -20, 30}));
    add(paneScene("paneCoversTheFrame", "larger than the frame", {{0, 0}, 3, 1}, {1, 0, 20, 20}));
    add(paneScene("paneSpeck", "two pixels wide", {{0.1f, 0.1f}, 0.004f, 1}, {1, 0, 20, 20}));
    add(paneScene("paneOddSize", "a frame of odd size, mirrored", {{-0.3f, 0.1f}, 0.45f, 1},
                  {1, 0, 8, -8}))
        .mirror = true;
    all.back().output = {333, 187};
    add(paneScene("framePortrait", "a frame higher than wide", {{0, 0.1f}, 0.7f, 1}, {1, 0, 8, -8}))
        .output = {202, 360};
}

void addLooks(std::vector<Scene>& all) {
    VisionOSTuning wide;
    wide.shadowRadius = 1.1f;
    wide.quadPad = 1.2f;
    wide.shadowStrength = 0.25f;
    all.push_back(paneScene("shadowWide", "a wide, faint shadow shows no bands",
                            {{0.05f, 0.02f}, 0.4f, 1}, {1, 0, 5, -8}, wide));
    Scene& capsule = all.emplace_back(
        paneScene("capsuleLarge", "the capsule from near", {{0, 1}, 2, 1}, {}, strongGlass()));
    capsule.inputs.pinchIndicator = {1};
}

void addBlurs(std::vector<Scene>& all) {
    const auto add = [&](Scene scene) -> Scene& { return all.emplace_back(std::move(scene)); };
    VisionOSTuning frosted = strongGlass();
    frosted.backdropBlurSigma = 12;
    add(paneScene("backdropFrosted", "the camera behind a half-visible pane is blurred",
                  {{-0.1f, 0}, 0.5f, 1}, {0.5f, 0, 9, 12}, frosted));
    add(paneScene("backdropFrostedMirrored", "the same with a mirrored camera",
                  {{-0.1f, 0}, 0.5f, 1}, {0.5f, 0, 9, 12}, frosted))
        .mirror = true;
    add(paneScene("backgroundBlurredALittle", "overlay blur 1.5", {{0, 0}, 0.3f, 1},
                  {1, 1.5f, 0, 0}));
    Scene& blurred = add(paneScene("backgroundBlurred", "overlay blur 12 and the model's 5",
                                   {{0, 0}, 0.3f, 1}, {1, 12, 0, 0}));
    blurred.inputs.spatial.backgroundBlurSigma = 5;
    blurred.mirror = true;
}

void addSwaps(std::vector<Scene>& all) {
    const auto add = [&](const char* name, const char* shows, SwapFillMode fillMode,
                         FrameSize slide) -> Scene& {
        Scene& scene =
            all.emplace_back(paneScene(name, shows, {{0.28f, -0.22f}, 0.36f, 1}, {1, 0, 6, -10}));
        scene.mode = SwapComposition{fillMode};
        scene.slide->size = slide;
        return scene;
    };
    add("swapFitWide", "a wide slide with bars above and below", SwapFillMode::fit, {640, 240});
    add("swapFitHigh", "a high slide with bars left and right, mirrored", SwapFillMode::fit,
        {260, 300})
        .mirror = true;
    add("swapFillWide", "a wide slide, cropped left and right", SwapFillMode::fill, {640, 240});
    add("swapFillHigh", "a high slide, cropped above and below", SwapFillMode::fill, {260, 300});
    add("swapUpsideDown", "a slide whose first row is the bottom, shrunk", SwapFillMode::fit,
        {1280, 720})
        .slide->originTopLeft = false;
    add("swapBlurred", "the slide behind the camera is blurred", SwapFillMode::fill, {640, 240})
        .inputs.appearance.blur = 6;
    Scene& empty = add("swapWithoutSlide", "the camera floats over black", SwapFillMode::fit, {});
    empty.slide.reset();
    Scene& dark =
        add("swapDarkened", "between two modes: four tenths darker", SwapFillMode::fit, {512, 288});
    dark.swapDarken = 0.4f;
    Scene& black =
        all.emplace_back(paneScene("darkenedFully", "darkening of 2 is black", middle, {}));
    black.swapDarken = 2;
}

void addLayers(std::vector<Scene>& all) {
    const auto add = [&](Scene scene) -> Scene& { return all.emplace_back(std::move(scene)); };
    add(bareScene("annotation", "an annotation of the frame's size")).annotation = {
        {480, 270}, 255, true};
    Scene& faint =
        add(bareScene("annotationScaled", "another size, upside down, opacity one half"));
    faint.annotation = {{300, 200}, 255, false};
    faint.inputs.annotation.opacity = 0.5f;

    Scene& strokes = add(bareScene("strokes", "ink that crosses itself, and a dot"));
    strokes.inputs.strokeBatches =
        sharedBatches({wave(180, "#FFFFFFE6", 9), wave(400, "#FFD23FFF", 3), pretzel(), ring()});
    Scene& fading = add(bareScene("strokesFading", "thinner and half visible"));
    fading.inputs.strokeBatches = sharedBatches({wave(180, "#FFFFFFE6", 12), pretzel()});
    fading.inputs.drawingOpacity = 0.5f;
    fading.inputs.drawingWidthScale = 0.55f;
    Scene& wide = add(bareScene("strokesWide", "a core wider than its ribs, over a pane"));
    wide.slide = ScenePicture{};
    wide.inputs.transform = middle;
    wide.inputs.strokeBatches = sharedBatches({wave(260, "#2E6BE6FF", 14)});
    wide.inputs.drawingWidthScale = 3;

    Scene& capsule =
        add(paneScene("capsule", "the pinch capsule below a tilted pane", middle, {1, 0, 12, 8}));
    capsule.inputs.pinchIndicator = {1};
    Scene& faintCapsule = add(paneScene("capsuleFaint", "a quarter visible, large, mirrored",
                                        {{0.1f, 0.2f}, 0.8f, 1}, {1, 0, 0, 0}));
    faintCapsule.inputs.pinchIndicator = {0.25f};
    faintCapsule.mirror = true;

    Scene& dots = add(bareScene("dots", "two dots of two opacities"));
    dots.inputs.twoHandDiscoverability = {1, 0.4f, {-0.3f, 0.2f}, {0.35f, -0.1f}};
    Scene& touching = add(bareScene("dotsTouching", "the larger coverage wins"));
    touching.inputs.twoHandDiscoverability = {0.5f, 1, {0.1f, 0.1f}, {0.107f, 0.104f}};
}

void addModels(std::vector<Scene>& all) {
    const auto add = [&](const char* name, const char* shows) -> Scene& {
        Scene& scene = all.emplace_back(bareScene(name, shows));
        scene.model = FrameSize{480, 270};
        return scene;
    };
    add("modelPlain", "a 3D model without finish").inputs.spatial.opacity = 0.8f;
    add("modelPlainScaled", "a model rendered in another size").model = FrameSize{320, 200};
    SpatialInput& levels = add("modelLevels", "tones in the room's range").inputs.spatial;
    levels.blackFloor = 0.2f;
    levels.whiteCeiling = 0.7f;
    levels.levelStrength = 1;
    SpatialInput& wrapped =
        add("modelLightWrap", "the sharp background around the edge").inputs.spatial;
    wrapped.lightWrapWidth = 0.03f;
    wrapped.lightWrapStrength = 1;
    SpatialInput& soft = add("modelSoft", "a feathered silhouette").inputs.spatial;
    soft.edgeSoftness = 1;
    const auto finish = [](SpatialInput& spatial) {
        spatial.blackFloor = 0.12f;
        spatial.whiteCeiling = 0.8f;
        spatial.levelStrength = 0.5f;
        spatial.lightWrapWidth = 0.02f;
        spatial.lightWrapStrength = 0.7f;
        spatial.edgeSoftness = 0.4f;
        spatial.opacity = 0.95f;
    };
    Scene& underlay = add("modelFinished", "all of it over a strongly blurred underlay");
    finish(underlay.inputs.spatial);
    underlay.inputs.spatial.underlayBlurSigma = 40;
    Scene& slight = add("modelFinishedSlightBlur", "an underlay blur that reads while it draws");
    finish(slight.inputs.spatial);
    slight.inputs.spatial.underlayBlurSigma = 2;
    Scene& scaled = add("modelFinishedScaled", "the finish of a model in another size");
    finish(scaled.inputs.spatial);
    scaled.model = FrameSize{320, 200};

    Scene& everything = add("everything", "all layers at once, in order");
    everything.slide = ScenePicture{};
    everything.inputs.transform = {{-0.12f, 0.12f}, 0.5f, 1};
    everything.inputs.appearance = {0.9f, 3, 8, -12};
    everything.inputs.tuning = strongGlass();
    everything.inputs.tuning.backdropBlurSigma = 8;
    finish(everything.inputs.spatial);
    everything.inputs.spatial.underlayBlurSigma = 12;
    everything.annotation = {{480, 270}, 255, true};
    everything.inputs.strokeBatches = sharedBatches({wave(400, "#FFD23FFF", 8), ring()});
    everything.inputs.pinchIndicator = {1};
    everything.inputs.twoHandDiscoverability = {1, 1, {-0.5f, 0.5f}, {0.5f, 0.5f}};
    everything.swapDarken = 0.1f;
    everything.mirror = true;
}

} // namespace

FrameRequest Scene::request() const {
    return {output, camera.value_or(output), mirror, mode, swapDarken};
}

bool Scene::hasBlur() const {
    return inputs.appearance.blur >= minBlurSigma ||
           inputs.spatial.backgroundBlurSigma >= minBlurSigma ||
           inputs.tuning.backdropBlurSigma >= minBlurSigma ||
           inputs.spatial.underlayBlurSigma > minBlurSigma;
}

std::vector<Scene> scenes() {
    std::vector<Scene> all;
    addPanes(all);
    addLooks(all);
    addBlurs(all);
    addSwaps(all);
    addLayers(all);
    addModels(all);
    return all;
}

PixelBufferRef cameraPicture(const Scene& scene) {
    const FrameSize size = scene.camera.value_or(scene.output);
    return cameraScene(size.width, size.height, 1, 1);
}

CompositorInputs inputsOn(Device& device, const Scene& scene) {
    CompositorInputs inputs = scene.inputs;
    const auto texture = [&](const PixelBuffer& pixels, bool prefiltered) {
        TextureOptions options;
        options.label = "lanternfly.scene";
        options.prefilteredLevels = prefiltered;
        return device.makeTexture(pixels, options);
    };
    if (scene.slide)
        inputs.slide = {texture(*slidePicture(scene.slide->size.width, scene.slide->size.height,
                                              scene.slide->alpha),
                                true),
                        scene.slide->originTopLeft};
    if (scene.annotation) {
        inputs.annotation.texture = texture(
            *annotationPicture(scene.annotation->size.width, scene.annotation->size.height), false);
        inputs.annotation.originTopLeft = scene.annotation->originTopLeft;
    }
    if (scene.model)
        inputs.spatial.texture =
            texture(*modelPicture(scene.model->width, scene.model->height), false);
    return inputs;
}

PixelBufferRef drawn(const DeviceRef& device, const Scene& scene) {
    const auto compositor =
        FrameCompositor::create(device, scene.output.width, scene.output.height);
    if (!compositor) return nullptr;
    const CompositorInputs inputs = inputsOn(*device, scene);
    compositor->setSlideTexture(inputs.slide.texture, inputs.slide.originTopLeft);
    compositor->setAppearance(inputs.appearance);
    compositor->setTransform(inputs.transform);
    compositor->setTuning(inputs.tuning);
    compositor->setPinchIndicator(inputs.pinchIndicator);
    compositor->setTwoHandDiscoverability(inputs.twoHandDiscoverability);
    compositor->setSharedStrokeBatches(inputs.strokeBatches);
    compositor->setDrawingOpacity(inputs.drawingOpacity);
    compositor->setDrawingWidthScale(inputs.drawingWidthScale);
    compositor->setAnnotationTexture(inputs.annotation.texture, inputs.annotation.originTopLeft);
    compositor->setAnnotationOpacity(inputs.annotation.opacity);
    const SpatialInput& spatial = inputs.spatial;
    compositor->setSpatialTexture(spatial.texture);
    compositor->setSpatialOpacity(spatial.opacity);
    compositor->setSpatialBackgroundBlurSigma(spatial.backgroundBlurSigma);
    compositor->setSpatialLevelMatch(spatial.blackFloor, spatial.whiteCeiling,
                                     spatial.levelStrength);
    compositor->setSpatialLightWrap(spatial.lightWrapWidth, spatial.lightWrapStrength);
    compositor->setSpatialUnderlayBlurSigma(spatial.underlayBlurSigma);
    compositor->setSpatialEdgeSoftness(spatial.edgeSoftness);
    return compositor->composite(cameraPicture(scene), scene.mirror, scene.mode, scene.swapDarken);
}

} // namespace lanternfly::test
