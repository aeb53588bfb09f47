#include "FrameScenes.h"

namespace lanternfly::test {

namespace {

VisionOSTuning strongGlass(float backdropSigma = 0) {
    VisionOSTuning tuning;
    tuning.cornerRadius = 0.2f;
    tuning.shadowRadius = 0.4f;
    tuning.quadPad = 0.45f;
    tuning.shadowStrength = 0.6f;
    tuning.rimWidth = 0.06f;
    tuning.rimMin = 0.1f;
    tuning.rimMax = 0.5f;
    tuning.specularIntensity = 0.2f;
    tuning.backdropBlurSigma = backdropSigma;
    return tuning;
}

FrameScene paneScene(const char* name, OverlayTransform transform, OverlayAppearance appearance,
                     VisionOSTuning tuning, float pinch = 0) {
    FrameScene scene;
    scene.name = name;
    scene.inputs.transform = transform;
    scene.inputs.appearance = appearance;
    scene.inputs.tuning = tuning;
    scene.inputs.pinchIndicator = {pinch};
    return scene;
}

FrameScene with(FrameScene scene, void (*change)(FrameScene&)) {
    change(scene);
    return scene;
}

} // namespace

std::vector<FrameScene> frameScenes() {
    const OverlayTransform middle{{0.013f, -0.021f}, 0.5f, 1};
    VisionOSTuning withoutShadow;
    withoutShadow.shadowStrength = 0;
    VisionOSTuning circle = strongGlass();
    circle.cornerRadius = 1;
    VisionOSTuning hardEdges = strongGlass();
    hardEdges.rimWidth = hardEdges.shadowRadius = hardEdges.specularHeight =
        hardEdges.cornerRadius = 0;
    const FrameScene tilted = paneScene("tilted", middle, {1, 0, 14, -23}, strongGlass(), 1);
    const FrameScene frosted =
        paneScene("frosted", middle, {0.8f, 0, 6, 12}, strongGlass(12), 0.7f);
    return {
        with(tilted,
             [](FrameScene& s) {
                 s.name = "cameraOnly";
                 s.inputs.appearance.opacity = 0;
                 s.inputs.pinchIndicator = {0};
             }),
        with(tilted,
             [](FrameScene& s) {
                 s.name = "cameraMirrored";
                 s.inputs.appearance.opacity = 0;
                 s.inputs.pinchIndicator = {0};
                 s.mirror = true;
             }),
        paneScene("flat", middle, {}, {}),
        tilted,
        with(tilted,
             [](FrameScene& s) {
                 s.name = "tiltedMirrored";
                 s.mirror = true;
             }),
        with(tilted,
             [](FrameScene& s) {
                 s.name = "bottomLeftOrigin";
                 s.originTopLeft = false;
             }),
        paneScene("withoutShadow", middle, {1, 0, 0, 12}, withoutShadow),
        with(tilted,
             [](FrameScene& s) {
                 s.name = "seeThroughSlide";
                 s.slideAlpha = 120;
             }),
        with(tilted,
             [](FrameScene& s) {
                 s.name = "portrait";
                 s.slide = {300, 500};
                 s.inputs.transform.scale = 0.25f;
             }),
        with(paneScene("circle", {{0, 0}, 0.3f, 1}, {}, circle),
             [](FrameScene& s) {
                 s.slide = {256, 256};
             }),
        paneScene("hardEdges", middle, {1, 0, 4, 4}, hardEdges),
        paneScene("partlyOutside", {{-0.5f, 0.45f}, 0.6f, 1}, {1, 0, -20, 30}, strongGlass(), 1),
        paneScene("coversTheFrame", {{0, 0}, 3, 1}, {1, 0, 20, 20}, strongGlass()),
        paneScene("speck", {{0.1f, 0.1f}, 0.004f, 1}, {1, 0, 20, 20}, strongGlass(), 1),
        frosted,
        with(frosted,
             [](FrameScene& s) {
                 s.name = "frostedMirrored";
                 s.mirror = true;
             }),
        with(frosted,
             [](FrameScene& s) {
                 s.name = "frostedLittle";
                 s.inputs.tuning.backdropBlurSigma = 2;
             }),
        with(frosted,
             [](FrameScene& s) {
                 s.name = "frostedPartlyOutside";
                 s.inputs.transform.position = {-0.45f, 0.4f};
                 s.inputs.tuning.backdropBlurSigma = 30;
             }),
        paneScene("blurredBackground", middle, {1, 12, 5, 5}, strongGlass()),
        paneScene("blurredBackgroundLittle", middle, {1, 0.8f, 5, 5}, strongGlass()),
        paneScene("blurredBackgroundMuch", middle, {1, 100, 5, 5}, strongGlass(40)),
        with(frosted,
             [](FrameScene& s) {
                 s.name = "oddSizes";
                 s.mirror = true;
                 s.output = s.camera = {333, 187};
                 s.slide = {201, 99};
             }),
        with(frosted,
             [](FrameScene& s) {
                 s.name = "smallerCamera";
                 s.camera = {320, 240};
                 s.inputs.appearance.blur = 4;
             }),
        with(tilted,
             [](FrameScene& s) {
                 s.name = "largerCameraMirrored";
                 s.camera = {801, 601};
                 s.mirror = true;
             }),
        with(tilted,
             [](FrameScene& s) {
                 s.name = "onePixelFrame";
                 s.output = s.camera = {1, 1};
             }),
    };
}

} // namespace lanternfly::test
