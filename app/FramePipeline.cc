#include "app/FramePipeline.h"

#include <algorithm>

#include "annotate/InkColor.h"
#include "app/SlidePlacement.h"

namespace lanternfly {
namespace {

constexpr const char* inkLayerID = "lyr_ink";

DrawingViewport viewportOf(const FrameCompositor& canvas) {
    return {static_cast<double>(canvas.width()), static_cast<double>(canvas.height())};
}

Layer slideLayer() {
    return {.id = Layer::lanternflyLive,
            .kind = LayerKind::window,
            .creatorID = Layer::localCreatorID,
            .content = WindowContent{}};
}

} // namespace

FramePipeline::FramePipeline(Setup setup)
    : _setup(std::move(setup)),
      _driver(std::make_shared<AppearanceDriver>(_setup.clock, OverlayTransform::day4Default,
                                                 SlidePlacement::seconds)),
      _controller(_setup.clock, _driver), _scaleController(_driver), _pinchRecognizer(_setup.clock),
      _twoHandPinchRecognizer(_setup.clock), _signRecognizer(_setup.clock),
      _ink(viewportOf(*_setup.compositor), inkLayerID, std::string(InkColor::defaultHex),
           defaultInkWidthPX(_setup.compositor->width())),
      _routing({.clock = _setup.clock,
                .pinches = _pinchRecognizer,
                .twoHandPinches = _twoHandPinchRecognizer,
                .signs = _signRecognizer,
                .slide = _controller,
                .slideScale = _scaleController,
                .ink = _ink,
                .viewport = viewportOf(*_setup.compositor),
                .events = _setup.events,
                .poses = _setup.recordedPoses}),
      _layers(_setup.compositor),
      _handPoseFeed(HandPoseFeed::create(_setup.clock, _setup.makeDetector)) {
    // Strokes change on several threads; which layer is the newest is known when a frame asks.
    _ink.setOnLayerUpdate([this](const std::optional<Layer>&) { _isInkChanged = true; });
    _handPoseFeed->setPoseCallback(
        [this](std::span<const HandPose> poses) { _routing.onPoses(poses); });
    if (!_setup.playedPoses) _handPoseFeed->start();
    if (_setup.makeFaceDetector) {
        _faceDetectFeed = FaceDetectFeed::create(_setup.makeFaceDetector);
        _faceDetectFeed->start();
    }
    if (_setup.detection == Detection::awaited) finish();
}

FramePipeline::~FramePipeline() {
    if (_faceDetectFeed) _faceDetectFeed->stop();
    _handPoseFeed->stop();
    _handPoseFeed->setPoseCallback(nullptr);
    _handPoseFeed->waitUntilIdle();
}

PixelBufferRef FramePipeline::onFrame(CameraFrame frame) {
    enterFrame(frame);
    return draw(look(std::move(frame)));
}

void FramePipeline::enterFrame(const CameraFrame& frame) {
    _routing.enterFrame(frame.index, frame.pts);
}

Scene FramePipeline::look(CameraFrame frame) {
    lookForHands(frame);
    lookForFace(frame);
    if (_setup.detection == Detection::awaited || _setup.playedPoses)
        _handPoseFeed->waitUntilIdle(); // also for what the face had to tell

    const double now = _setup.clock.mediaSeconds();
    tickInk(now);
    Stage stage = _stage.get();
    const auto shown = _transition.advance({stage.mode, stage.darkening}, now);
    stage.mode = shown.mode;
    stage.darkening = shown.darkening;
    const auto hints = _twoHandHints.advance(_routing.visibleHands(), stage.isMirrored, now);
    return {.frame = std::move(frame),
            .overlay = _driver->snapshot(),
            .pinchIndicator = _indicatorFade.advance(_controller.isSessionActive(), now),
            .twoHandHints = hints,
            .ink = _seenInk,
            .stage = std::move(stage)};
}

void FramePipeline::lookForHands(const CameraFrame& frame) {
    if (frame.isStandIn) {
        withHands([](OverlayRouting& routing) { routing.onPoses({}); });
        return;
    }
    if (_setup.playedPoses)
        playPoses(frame.pts);
    else
        _handPoseFeed->process(frame.picture, frame.pts);
}

void FramePipeline::playPoses(MediaTime pts) {
    const PoseTrackFrame* seen = _setup.playedPoses->at(pts.seconds());
    if (!seen) return;
    auto poses = seen->poses;
    for (HandPose& pose : poses) {
        pose.pts = pts;
        pose.arrivedAtUptimeNanos = _setup.clock.uptimeNanos();
    }
    withHands([poses = std::move(poses)](OverlayRouting& routing) { routing.onPoses(poses); });
}

void FramePipeline::finish() {
    _handPoseFeed->waitUntilIdle();
    if (_faceDetectFeed) _faceDetectFeed->waitUntilIdle();
}

void FramePipeline::lookForFace(const CameraFrame& frame) {
    if (!_faceDetectFeed || frame.isStandIn) return;
    _faceDetectFeed->process(frame.picture, frame.pts);
    if (_setup.detection == Detection::awaited) _faceDetectFeed->waitUntilIdle();
    const auto face = _faceDetectFeed->latestFace();
    if (std::exchange(_seenFace, face) == face) return;
    withHands([face](OverlayRouting& routing) {
        routing.record(
            [&](EventLog& events, const FrameStamp& stamp) { events.face(stamp, face); });
    });
}

void FramePipeline::tickInk(double nowSeconds) {
    const double seconds = nowSeconds - _lastTickSeconds.value_or(nowSeconds);
    _lastTickSeconds = nowSeconds;
    if (_ink.hasLifecycleWork()) _ink.tick(std::max(seconds, 0.0));
    if (_isInkChanged.exchange(false))
        _seenInk = std::make_shared<const std::optional<Layer>>(_ink.currentLayer());
}

PixelBufferRef FramePipeline::draw(const Scene& scene) {
    FrameCompositor& compositor = *_setup.compositor;
    const Stage& stage = scene.stage;
    showLayers(scene);
    compositor.setTransform(scene.overlay.transform);
    compositor.setTwoHandDiscoverability(scene.twoHandHints);
    compositor.setAnnotationTexture(stage.annotation.texture, stage.annotation.originTopLeft);
    compositor.setAnnotationOpacity(stage.annotation.opacity);
    _layers.setAppearance(scene.overlay.appearance);
    _layers.setPinchIndicator(scene.pinchIndicator);
    _layers.setTuning(stage.glass);
    return compositor.composite(scene.frame.picture, stage.isMirrored, stage.mode, stage.darkening);
}

void FramePipeline::showLayers(const Scene& scene) {
    const SlideInput& slide = scene.stage.slide;
    if (std::exchange(_drawnSlide, slide.texture) != slide.texture)
        _layers.setTexture(LayerTextureBinding{slide.texture, slide.originTopLeft},
                           Layer::lanternflyLive);
    if (_areLayersSet && _drawnInk == scene.ink) return;
    std::vector<Layer> layers{slideLayer()};
    if (scene.ink && *scene.ink) layers.push_back(**scene.ink);
    const FrameCompositor& canvas = *_setup.compositor;
    _layers.setLayers(std::move(layers),
                      static_cast<float>(canvas.width()) / static_cast<float>(canvas.height()));
    _drawnInk = scene.ink;
    _areLayersSet = true;
}

void FramePipeline::withHands(std::function<void(OverlayRouting&)> task) {
    _handPoseFeed->async([this, task = std::move(task)] { task(_routing); });
}

void FramePipeline::setTrackingConfig(const TrackingConfig& config) {
    _handPoseFeed->async([this, config] {
        _pinchRecognizer.setTrackingConfig(config);
        _controller.setTrackingConfig(config);
    });
}

} // namespace lanternfly
