#include "app/FramePipeline.h"

#include <algorithm>

namespace lanternfly {
namespace {

constexpr float slideScale = 0.36f;
constexpr float slidePadding = 0.0125f;
constexpr double placementSeconds = 0.3;

float aspectOf(const Texture& slide) {
    return static_cast<float>(slide.width()) / static_cast<float>(slide.height());
}

float aspectOf(const FrameCompositor& canvas) {
    return static_cast<float>(canvas.width()) / static_cast<float>(canvas.height());
}

} // namespace

FramePipeline::FramePipeline(Setup setup)
    : _setup(std::move(setup)),
      _driver(std::make_shared<AppearanceDriver>(
          _setup.clock,
          OverlayTransform::upperRight(aspectOf(*_setup.slide), aspectOf(*_setup.compositor),
                                       slideScale, slidePadding),
          placementSeconds)),
      _controller(_setup.clock, _driver), _recognizer(_setup.clock),
      _routing(_recognizer, _controller, _setup.events),
      _handPoseFeed(HandPoseFeed::create(_setup.clock, _setup.makeDetector)) {
    // Where the slide touches two edges of the canvas: larger, and part of it would be outside.
    _driver->setFillScale(std::min(1.0f, aspectOf(*_setup.slide) / aspectOf(*_setup.compositor)));
    constexpr bool originTopLeft = false;
    _setup.compositor->setSlideTexture(_setup.slide, originTopLeft);

    _handPoseFeed->setPoseCallback(
        [this](std::span<const HandPose> poses) { _routing.onPoses(poses); });
    _handPoseFeed->start();
    _handPoseFeed->waitUntilIdle();
}

FramePipeline::~FramePipeline() {
    _handPoseFeed->stop();
    _handPoseFeed->setPoseCallback(nullptr);
    _handPoseFeed->waitUntilIdle();
}

Scene FramePipeline::look(CameraFrame frame) {
    _routing.enterFrame(frame.index, frame.pts);
    _handPoseFeed->process(frame.picture, frame.pts);
    if (_setup.detection == Detection::awaited) _handPoseFeed->waitUntilIdle();

    const auto pinchIndicator =
        _indicatorFade.advance(_controller.isSessionActive(), _setup.clock.mediaSeconds());
    return {std::move(frame), _driver->snapshot(), pinchIndicator};
}

PixelBufferRef FramePipeline::draw(const Scene& scene) {
    FrameCompositor& compositor = *_setup.compositor;
    compositor.setTransform(scene.overlay.transform);
    compositor.setAppearance(scene.overlay.appearance);
    compositor.setPinchIndicator(scene.pinchIndicator);
    constexpr float noDarkening = 0;
    return compositor.composite(scene.frame.picture, _setup.isMirrored, FullComposition{},
                                noDarkening);
}

void FramePipeline::finish() {
    _handPoseFeed->waitUntilIdle();
}

} // namespace lanternfly
