#include "render/FramePlan.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <numbers>
#include <tuple>
#include <utility>

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

constexpr float dotRadius = 0.011f;    // clip units
constexpr float dotSoftEdge = 0.0015f; // clip units
// Far beyond it every pixel that is not clear is opaque.
constexpr float maxAnnotationOpacity = 1e6f;

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

float aspectOf(FrameSize size) {
    return static_cast<float>(size.width) / static_cast<float>(std::max(size.height, 1));
}

FrameSize sizeOf(const Texture& texture) {
    return {texture.width(), texture.height()};
}

struct PaneFrame {
    FrameSize output;
    bool mirror;
    PictureSource content;
    bool vDownward;      // of the content
    float contentAspect; // width / height
    PanePlacement placement;
};

PaneFrame paneFrame(const CompositorInputs& inputs, const FrameRequest& request) {
    const auto& [output, camera, mirror, mode, swapDarken] = request;
    const float frameAspect = aspectOf(output);
    PaneFrame frame{output, mirror, PictureSource::slide, inputs.slide.originTopLeft, 1, {}};
    // Without a slide only the capsule below it is placed; the frame's own shape stands in.
    frame.contentAspect =
        inputs.slide.texture ? aspectOf(sizeOf(*inputs.slide.texture)) : frameAspect;
    if (std::holds_alternative<SwapComposition>(mode)) {
        frame.content = PictureSource::camera;
        frame.vDownward = true;
        frame.contentAspect = aspectOf(camera);
    }
    frame.contentAspect = std::max(frame.contentAspect, minAspect);
    const OverlayTransform& transform = inputs.transform;
    const double sign = mirror ? -1 : 1;
    frame.placement.centre = {2 * sign * transform.position.x, 2.0 * transform.position.y};
    frame.placement.halfSize.y = transform.scale / frame.contentAspect * frameAspect;
    frame.placement.halfSize.x = frame.placement.halfSize.y * frame.contentAspect / frameAspect;
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
                                         BlurKernelCache& kernel) {
    const auto sigma = blurSigmaFor(inputs.tuning.backdropBlurSigma, kernel);
    if (!sigma) return std::nullopt;
    const auto placed = place(frame.placement, Quad::padded(0, frame.vDownward),
                              frame.contentAspect, 0, frame.output);
    if (!placed) return std::nullopt;
    BackdropDraw draw{*placed, {}, *sigma};
    draw.uniforms.params = {frame.contentAspect, within(inputs.tuning.cornerRadius, maxGlassLength),
                            frame.mirror ? 1.f : 0.f, inputs.appearance.opacity};
    draw.uniforms.canvasSize = {frame.output.width, frame.output.height};
    return draw;
}

std::optional<PaneDraw> planPane(const CompositorInputs& inputs, const PaneFrame& frame) {
    const VisionOSTuning& tuning = inputs.tuning;
    const float shadowRadius = within(tuning.shadowRadius, maxGlassLength);
    const bool uLeftward = frame.mirror && frame.content == PictureSource::camera;
    const auto quad =
        Quad::padded(std::clamp(tuning.quadPad, -1.f, maxQuadPad), frame.vDownward, uLeftward);
    const auto placed =
        place(frame.placement, quad, frame.contentAspect, shadowRadius, frame.output);
    if (!placed) return std::nullopt;
    PaneDraw draw{*placed, {}, {}, frame.content};
    draw.uniforms.params = {inputs.appearance.opacity, frame.contentAspect,
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

// The pixels whose centres lie within ±halfSide of clip space.
std::pair<int, int> coveredCentres(float halfSide, int count) {
    const double half = count / 2.0;
    const auto edge = [&](double clip) {
        const double pixel = std::ceil(half * (1 + clip) - 0.5);
        return static_cast<int>(std::clamp(pixel, 0.0, static_cast<double>(count)));
    };
    return {edge(-halfSide), edge(halfSide)};
}

// The whole slide inside the frame, or the whole frame inside the slide.
float2 swapStretch(float slideAspect, float frameAspect, SwapFillMode fillMode) {
    const float ratio = std::max(slideAspect, minAspect) / frameAspect;
    switch (fillMode) {
    case SwapFillMode::fit:
        return ratio >= 1 ? float2(1, 1 / ratio) : float2(ratio, 1);
    case SwapFillMode::fill:
        return ratio >= 1 ? float2(ratio, 1) : float2(1, 1 / ratio);
    }
    return float2(1);
}

BackgroundDraw planBackground(const CompositorInputs& inputs, const FrameRequest& request,
                              BlurKernelCache& kernel) {
    const FrameSize output = request.output;
    BackgroundDraw draw;
    draw.mirror = request.mirror;
    float2 stretch(1);
    bool vDownward = true;
    if (const auto* swap = std::get_if<SwapComposition>(&request.mode)) {
        if (!inputs.slide.texture) return draw;
        draw.source = PictureSource::slide;
        vDownward = inputs.slide.originTopLeft;
        stretch =
            swapStretch(aspectOf(sizeOf(*inputs.slide.texture)), aspectOf(output), swap->fillMode);
    } else {
        draw.source = PictureSource::camera;
    }
    draw.blurSigma = blurSigmaFor(
        backgroundBlurSigma(inputs.appearance.blur, inputs.spatial.backgroundBlurSigma), kernel);
    draw.quad = Quad::stretched(stretch, vDownward);
    std::tie(draw.rect.x0, draw.rect.x1) = coveredCentres(stretch.x, output.width);
    std::tie(draw.rect.y0, draw.rect.y1) = coveredCentres(stretch.y, output.height);
    draw.drawnSizePX = stretch * float2(output.width, output.height);
    return draw;
}

std::optional<SpatialDraw> planSpatial(const SpatialInput& spatial, BlurKernelCache& kernel) {
    if (!spatial.texture || !(spatial.opacity > minVisible) ||
        !areFinite({spatial.opacity, spatial.blackFloor, spatial.whiteCeiling,
                    spatial.levelStrength, spatial.lightWrapWidth, spatial.lightWrapStrength,
                    spatial.edgeSoftness}))
        return std::nullopt;
    SpatialDraw draw{spatial.opacity, {}};
    if (std::max({spatial.levelStrength, spatial.lightWrapStrength, spatial.edgeSoftness}) >
        minSpatialStrength) {
        SpatialFinish& finish = draw.finish.emplace();
        finish.uniforms.levelParams = {spatial.opacity, spatial.blackFloor, spatial.whiteCeiling,
                                       spatial.levelStrength};
        finish.uniforms.wrapParams = {spatial.lightWrapWidth, spatial.lightWrapStrength,
                                      spatial.edgeSoftness, 0};
        if (spatial.underlayBlurSigma > minBlurSigma)
            finish.underlayBlurSigma = blurSigmaFor(spatial.underlayBlurSigma, kernel);
    }
    return draw;
}

std::optional<AnnotationDraw> planAnnotation(const AnnotationInput& annotation) {
    if (!annotation.texture || !(annotation.opacity > minVisible)) return std::nullopt;
    return AnnotationDraw{std::min(annotation.opacity, maxAnnotationOpacity),
                          annotation.originTopLeft};
}

std::optional<StrokesDraw> planStrokes(const CompositorInputs& inputs) {
    if (!inputs.isDrawingEnabled || inputs.strokeBatches->empty() || !(inputs.drawingOpacity > 0) ||
        !areFinite({inputs.drawingOpacity, inputs.drawingWidthScale}))
        return std::nullopt;
    return StrokesDraw{inputs.strokeBatches, inputs.drawingOpacity, inputs.drawingWidthScale};
}

PixelRect dotRect(float2 centre, const TwoHandDotsUniforms& uniforms, FrameSize output) {
    const double reach = uniforms.params2.z + uniforms.tint.w;
    const double frameAspect = uniforms.params2.w;
    const auto range = [](double middle, double half, int count) {
        const auto pixel = [&](double clip) { return (clip + 1) / 2 * count; };
        const auto within = [&](double value) {
            return static_cast<int>(std::clamp(value, 0.0, static_cast<double>(count)));
        };
        return std::pair(within(std::floor(pixel(middle - half))),
                         within(std::ceil(pixel(middle + half))));
    };
    PixelRect rect;
    std::tie(rect.x0, rect.x1) = range(centre.x, reach / frameAspect, output.width);
    std::tie(rect.y0, rect.y1) = range(-double{centre.y}, reach, output.height);
    return rect.isEmpty() ? PixelRect{} : rect;
}

std::optional<TwoHandDotsDraw> planTwoHandDots(const TwoHandDiscoverabilityState& state,
                                               FrameSize output) {
    const auto opacity = [](float wanted, float2 position) {
        const bool isPlaced = areFinite({wanted, position.x, position.y});
        return isPlaced ? std::clamp(wanted, 0.f, 1.f) : 0.f;
    };
    const float left = opacity(state.leftDotOpacity, state.leftDotPosition);
    const float right = opacity(state.rightDotOpacity, state.rightDotPosition);
    if (!(std::max(left, right) > minVisible)) return std::nullopt;
    const auto centre = [](float opacityOfDot, float2 position) {
        position = opacityOfDot > 0 ? position : float2(0); // it may be no number
        return float2(within(-position.x, maxPosition), within(position.y, maxPosition));
    };
    const float2 leftCentre = centre(left, state.leftDotPosition);
    const float2 rightCentre = centre(right, state.rightDotPosition);
    TwoHandDotsDraw draw;
    draw.uniforms.params = {leftCentre.x, leftCentre.y, rightCentre.x, rightCentre.y};
    draw.uniforms.params2 = {left, right, dotRadius, aspectOf(output)};
    draw.uniforms.tint = {0.722f, 0.831f, 1.0f, dotSoftEdge};
    if (left > minVisible) draw.rects[0] = dotRect(leftCentre, draw.uniforms, output);
    if (right > minVisible) draw.rects[1] = dotRect(rightCentre, draw.uniforms, output);
    auto& [a, b] = draw.rects;
    if (a.isEmpty() && b.isEmpty()) return std::nullopt;
    const bool isOverlap =
        !a.isEmpty() && !b.isEmpty() && a.x0 < b.x1 && b.x0 < a.x1 && a.y0 < b.y1 && b.y0 < a.y1;
    if (isOverlap) {
        a = {std::min(a.x0, b.x0), std::min(a.y0, b.y0), std::max(a.x1, b.x1),
             std::max(a.y1, b.y1)};
        b = {};
    }
    return draw;
}

void planPaneAndCapsule(const CompositorInputs& inputs, const FrameRequest& request,
                        FrameKernels& kernels, FramePlan& plan) {
    if (!isPlaceable(inputs.transform) ||
        !areFinite({inputs.appearance.tiltX, inputs.appearance.tiltY}))
        return;
    const PaneFrame frame = paneFrame(inputs, request);
    const bool hasContent = frame.content == PictureSource::camera || inputs.slide.texture;
    const bool isPaneVisible = hasContent && isFinite(inputs.tuning) &&
                               std::isfinite(inputs.appearance.opacity) &&
                               inputs.appearance.opacity > minVisible;
    if (isPaneVisible) {
        plan.backdrop = planBackdrop(inputs, frame, kernels.backdrop);
        plan.pane = planPane(inputs, frame);
    }
    if (inputs.pinchIndicator.opacity > minVisible) plan.pinchBar = planPinchBar(inputs, frame);
}

} // namespace

float backgroundBlurSigma(float appearanceBlur, float spatialBackgroundBlurSigma) {
    return std::sqrt(appearanceBlur * appearanceBlur +
                     spatialBackgroundBlurSigma * spatialBackgroundBlurSigma);
}

FramePlan planFrame(const CompositorInputs& inputs, const FrameRequest& request,
                    FrameKernels& kernels) {
    FramePlan plan;
    plan.background = planBackground(inputs, request, kernels.overlay);
    planPaneAndCapsule(inputs, request, kernels, plan);
    plan.spatial = planSpatial(inputs.spatial, kernels.underlay);
    plan.annotation = planAnnotation(inputs.annotation);
    plan.strokes = planStrokes(inputs);
    plan.twoHandDots = planTwoHandDots(inputs.twoHandDiscoverability, request.output);
    if (request.swapDarken > minVisible) plan.darkenAlpha = std::min(request.swapDarken, 1.f);
    return plan;
}

StrokeUniforms strokeUniforms(const StrokesDraw& draw, const StrokeBatch& batch) {
    StrokeUniforms uniforms;
    uniforms.mvp[0][0] = 2 / std::max(batch.viewportWidthPX, 1.f);
    uniforms.mvp[1][1] = -2 / std::max(batch.viewportHeightPX, 1.f);
    uniforms.mvp[3] = {-1, 1, 0, 1};
    uniforms.color = glm::clamp(batch.color, 0.f, 1.f);
    uniforms.color.a *= draw.opacity;
    uniforms.widthScale = draw.widthScale;
    return uniforms;
}

int drawnVertexCount(const StrokeBatch& batch) {
    const float4& c = batch.color;
    if (batch.isEmpty() ||
        !areFinite({c.r, c.g, c.b, c.a, batch.viewportWidthPX, batch.viewportHeightPX}))
        return 0;
    const size_t held = batch.vertexBuffer.size() / StrokeBatch::floatsPerVertex;
    return static_cast<int>(std::min(held, static_cast<size_t>(batch.triangleStripVertexCount)));
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
