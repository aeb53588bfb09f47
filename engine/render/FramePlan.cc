#include "render/FramePlan.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>

namespace lanternfly {

namespace {

// Far outside any picture, yet harmless to single precision.
constexpr float maxPosition = 100;
constexpr float maxScale = 100;
constexpr float maxGlassLength = 100; // short-side halves
constexpr float maxGlassStrength = 16;
constexpr float minAspect = 0.01f;

constexpr float pinchBarPad = 0.55f; // the capsule's shadow radius and a margin
constexpr float pinchBarHalfWidth = 0.18f;
constexpr float pinchBarHalfHeight = 0.0117f;
constexpr float pinchBarMinHalfHeight = 0.0001f;
constexpr float pinchBarGap = 0.025f;

bool areFinite(std::initializer_list<float> values) {
    return std::all_of(values.begin(), values.end(),
                       [](float value) { return std::isfinite(value); });
}

bool isFinite(const VisionOSTuning& tuning) {
    return areFinite({tuning.cornerRadius, tuning.quadPad, tuning.shadowRadius,
                      tuning.shadowStrength, tuning.rimWidth, tuning.rimMin, tuning.rimMax,
                      tuning.specularHeight, tuning.specularIntensity});
}

bool isPlaceable(const OverlayTransform& transform) {
    return areFinite({transform.position.x, transform.position.y, transform.scale}) &&
           std::abs(transform.position.x) <= maxPosition &&
           std::abs(transform.position.y) <= maxPosition && transform.scale > minVisible &&
           transform.scale <= maxScale;
}

float within(float value, float limit) {
    return std::clamp(value, -limit, limit);
}

std::optional<float> blurSigmaFor(float wantedSigma, BlurKernelCache& kernel) {
    if (!(wantedSigma >= minBlurSigma)) return std::nullopt;
    return kernel.sigmaFor(std::min(wantedSigma, maxBlurSigma));
}

struct PaneFrame {
    FrameSize output;
    bool mirror;
    float slideAspect; // width / height
    PanePlacement placement;
};

PaneFrame paneFrame(const CompositorInputs& inputs, FrameSize output, bool mirror) {
    const float frameAspect = static_cast<float>(output.width) / static_cast<float>(output.height);
    // Without a slide only the capsule below it is placed; the frame's own shape stands in.
    const Texture* slide = inputs.slide.texture.get();
    const float slideAspect = slide ? static_cast<float>(slide->width()) /
                                          static_cast<float>(std::max(slide->height(), 1))
                                    : frameAspect;
    PaneFrame frame{output, mirror, std::max(slideAspect, minAspect), {}};
    const OverlayTransform& transform = inputs.transform;
    const double sign = mirror ? -1 : 1;
    frame.placement.centre = {2 * sign * transform.position.x, 2.0 * transform.position.y};
    frame.placement.halfSize.y = transform.scale / frame.slideAspect * frameAspect;
    frame.placement.halfSize.x = frame.placement.halfSize.y * frame.slideAspect / frameAspect;
    constexpr double radians = std::numbers::pi / 180;
    frame.placement.tiltXRad = inputs.appearance.tiltX * radians;
    frame.placement.tiltYRad = sign * inputs.appearance.tiltY * radians;
    frame.placement.frameAspect = frameAspect;
    return frame;
}

// `reach` is how far beyond the pane's edge anything is drawn, in short-side halves.
std::optional<PanePlace> place(const PanePlacement& placement, const Quad& quad, float aspect,
                               float reach, FrameSize output) {
    PanePlace result{paneMatrix(placement), quad, {}, {}};
    if (!invert(result.matrix, quad, output.width, output.height, result.toPane))
        return std::nullopt;
    const double2 halfExtent(paneHalfExtent(aspect));
    // One pixel more than the reach for the softened edge, measured at the pane's centre and
    // doubled for the nearer side of a tilted pane.
    const double pixelInPane = 2 * (std::abs(result.toPane.x.x) + std::abs(result.toPane.x.y) +
                                    std::abs(result.toPane.y.x) + std::abs(result.toPane.y.y));
    const double2 drawn = glm::min(double2(quad.extent()),
                                   1.0 + double2(std::max(reach, 0.f)) / halfExtent + pixelInPane);
    result.rect = coveredPixels(result.matrix, drawn, output.width, output.height);
    if (result.rect.isEmpty()) return std::nullopt;
    return result;
}

std::optional<BackdropDraw> planBackdrop(const CompositorInputs& inputs, const PaneFrame& frame,
                                         bool vDownward, BlurKernelCache& kernel) {
    const auto sigma = blurSigmaFor(inputs.tuning.backdropBlurSigma, kernel);
    if (!sigma) return std::nullopt;
    const auto placed =
        place(frame.placement, Quad::padded(0, vDownward), frame.slideAspect, 0, frame.output);
    if (!placed) return std::nullopt;
    BackdropDraw draw{*placed, {}, *sigma};
    draw.uniforms.params = {frame.slideAspect, within(inputs.tuning.cornerRadius, maxGlassLength),
                            frame.mirror ? 1.f : 0.f, inputs.appearance.opacity};
    draw.uniforms.canvasSize = {frame.output.width, frame.output.height};
    return draw;
}

std::optional<PaneDraw> planPane(const CompositorInputs& inputs, const PaneFrame& frame,
                                 bool vDownward) {
    const VisionOSTuning& tuning = inputs.tuning;
    const float shadowRadius = within(tuning.shadowRadius, maxGlassLength);
    const auto quad = Quad::padded(std::clamp(tuning.quadPad, -1.f, maxQuadPad), vDownward);
    const auto placed = place(frame.placement, quad, frame.slideAspect, shadowRadius, frame.output);
    if (!placed) return std::nullopt;
    PaneDraw draw{*placed, {}, {}};
    draw.uniforms.params = {inputs.appearance.opacity, frame.slideAspect,
                            within(tuning.cornerRadius, maxGlassLength), 0};
    draw.uniforms.glass = {shadowRadius, within(tuning.shadowStrength, maxGlassStrength),
                           within(tuning.rimWidth, maxGlassLength),
                           within(tuning.specularHeight, maxGlassLength)};
    draw.uniforms.glass2 = {within(tuning.rimMin, maxGlassStrength),
                            within(tuning.rimMax, maxGlassStrength),
                            within(tuning.specularIntensity, maxGlassStrength), 0};
    draw.drawnSizePX =
        float2(frame.placement.halfSize * double2(frame.output.width, frame.output.height));
    return draw;
}

std::optional<PinchBarDraw> planPinchBar(const CompositorInputs& inputs, const PaneFrame& frame) {
    const float scale = inputs.transform.scale;
    const auto frameAspect = static_cast<float>(frame.placement.frameAspect);
    const float halfWidth = pinchBarHalfWidth * scale;
    const float halfHeight =
        std::max(pinchBarHalfHeight * scale * frameAspect, pinchBarMinHalfHeight);
    const double paneBottom = frame.placement.centre.y - frame.placement.halfSize.y;
    PanePlacement placement;
    placement.centre = {frame.placement.centre.x,
                        paneBottom - pinchBarGap * scale * frameAspect - halfHeight};
    placement.halfSize = {halfWidth, halfHeight};
    placement.frameAspect = frameAspect;
    const float aspect = std::max(halfWidth / halfHeight, 1.f);
    const auto placed = place(placement, Quad::padded(pinchBarPad, false), aspect,
                              PinchBarLook::shadowRadius, frame.output);
    if (!placed) return std::nullopt;
    PinchBarDraw draw{*placed, {}};
    draw.uniforms.params = {aspect, std::min(inputs.pinchIndicator.opacity, 1.f), 0, 0};
    return draw;
}

} // namespace

float backgroundBlurSigma(float appearanceBlur, float spatialBackgroundBlurSigma) {
    return std::sqrt(appearanceBlur * appearanceBlur +
                     spatialBackgroundBlurSigma * spatialBackgroundBlurSigma);
}

FramePlan planFrame(const CompositorInputs& inputs, FrameSize output, bool mirror,
                    FrameKernels& kernels) {
    FramePlan plan;
    plan.background.mirror = mirror;
    plan.background.blurSigma = blurSigmaFor(
        backgroundBlurSigma(inputs.appearance.blur, inputs.spatial.backgroundBlurSigma),
        kernels.overlay);

    if (!isPlaceable(inputs.transform) ||
        !areFinite({inputs.appearance.tiltX, inputs.appearance.tiltY}))
        return plan;
    const PaneFrame frame = paneFrame(inputs, output, mirror);
    const bool isPaneVisible = inputs.slide.texture && isFinite(inputs.tuning) &&
                               std::isfinite(inputs.appearance.opacity) &&
                               inputs.appearance.opacity > minVisible;
    if (isPaneVisible) {
        const bool vDownward = inputs.slide.originTopLeft;
        plan.backdrop = planBackdrop(inputs, frame, vDownward, kernels.backdrop);
        plan.pane = planPane(inputs, frame, vDownward);
    }
    if (inputs.pinchIndicator.opacity > minVisible) plan.pinchBar = planPinchBar(inputs, frame);
    return plan;
}

int prefilteredLevel(FrameSize texture, int levelCount, float2 drawnSizePX) {
    int level = 0;
    FrameSize size = texture;
    while (level + 1 < levelCount) {
        size = {std::max(size.width / 2, 1), std::max(size.height / 2, 1)};
        if (static_cast<float>(size.width) < drawnSizePX.x ||
            static_cast<float>(size.height) < drawnSizePX.y)
            break;
        ++level;
    }
    return level;
}

} // namespace lanternfly
