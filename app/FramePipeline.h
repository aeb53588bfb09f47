// What happens to a camera frame: hands are looked for, the slide and the ink follow them, the
// picture is composed. Owns the objects of one presentation that work on frames and connects them;
// computes nothing.
// Threads: enterFrame() and look() are bound to one thread, draw() to one, which may be another;
// the rest is safe.
#pragma once

#include <atomic>
#include <memory>

#include "app/EventLog.h"
#include "app/OverlayRouting.h"
#include "app/PinchIndicatorFade.h"
#include "app/Stage.h"
#include "app/StageTransition.h"
#include "app/TwoHandHints.h"
#include "base/Clock.h"
#include "capture/FaceDetectFeed.h"
#include "capture/HandPoseFeed.h"
#include "motion/AppearanceDriver.h"
#include "render/FrameCompositor.h"
#include "render/LayerRenderer.h"
#include "tracks/PoseTrackPlayer.h"

namespace lanternfly {

struct CameraFrame {
    PixelBufferRef picture;
    MediaTime pts;
    int64_t index = 0;
    // Stands in for a camera that sends nothing: nobody is in it.
    bool isStandIn = false;
};

// A camera frame and all that is to be seen in it.
struct Scene {
    CameraFrame frame;
    OverlaySnapshot overlay;
    PinchIndicatorState pinchIndicator;
    TwoHandDiscoverabilityState twoHandHints;
    std::shared_ptr<const std::optional<Layer>> ink; // null: none
    Stage stage;
};

class FramePipeline {
public:
    // `awaited`: each frame is detected before it is drawn, so that the same input gives the same
    // output. `free`: frames never wait; those that meet a running detection go without.
    enum class Detection { awaited, free };

    struct Setup {
        const Clock& clock;
        HandPoseFeed::DetectorFactory makeDetector;
        std::shared_ptr<FrameCompositor> compositor;
        Detection detection = Detection::awaited;
        EventLog* events = nullptr;
        PoseTrackWriter* recordedPoses = nullptr;
        // Gives the hands instead of a detector; always awaited.
        PoseTrackPlayer* playedPoses = nullptr;
        FaceDetectFeed::DetectorFactory makeFaceDetector{}; // empty: nobody asks for the face
    };

    // Returns when the detector is ready, but at once where frames do not wait for it; finish()
    // waits then.
    explicit FramePipeline(Setup setup);
    ~FramePipeline();

    // The whole way of one frame. Null when it could not be composed.
    PixelBufferRef onFrame(CameraFrame frame);

    // Its parts, for a caller that lets the next frame be looked at while this one is drawn. What
    // is recorded after enterFrame() belongs to that frame.
    void enterFrame(const CameraFrame& frame);
    Scene look(CameraFrame frame);
    PixelBufferRef draw(const Scene& scene);
    // Returns when all that was asked before has been looked at.
    void finish();

    const std::shared_ptr<FrameCompositor>& compositor() const { return _setup.compositor; }
    AppearanceDriver& driver() { return *_driver; }
    DrawController& ink() { return _ink; }
    static double defaultInkWidthPX(int canvasWidthPX) { return canvasWidthPX / 240.0; }
    // Runs the task between the hands of two frames, on the queue of the routing.
    void withHands(std::function<void(OverlayRouting&)> task);
    void setTrackingConfig(const TrackingConfig& config);
    void setTelemetry(std::shared_ptr<TrackingTelemetry> telemetry) {
        _handPoseFeed->setTelemetry(std::move(telemetry));
    }
    // `change(Stage&)` calls nothing.
    template <typename Change>
    void changeStage(Change&& change) {
        _stage.withLock(std::forward<Change>(change));
    }
    Stage stage() const { return _stage.get(); }

    OverlayRouting::Tally tally() const { return _routing.tally(); }
    std::optional<PinchTransformController::LatencyReadout> latency() const {
        return _controller.latencyReadout();
    }

private:
    void lookForHands(const CameraFrame& frame);
    void playPoses(MediaTime pts);
    void showLayers(const Scene& scene);
    void tickInk(double nowSeconds);
    void lookForFace(const CameraFrame& frame);

    const Setup _setup;
    std::shared_ptr<AppearanceDriver> _driver;
    PinchTransformController _controller;
    TwoHandScaleController _scaleController;
    PinchRecognizer _pinchRecognizer;
    TwoHandPinchRecognizer _twoHandPinchRecognizer;
    HandGestureRecognizer _signRecognizer;
    DrawController _ink;
    OverlayRouting _routing;
    LockedCell<Stage> _stage;
    std::atomic<bool> _isInkChanged{false};

    // Of the looking thread.
    PinchIndicatorFade _indicatorFade;
    TwoHandHints _twoHandHints;
    StageTransition _transition;
    std::shared_ptr<const std::optional<Layer>> _seenInk;
    std::optional<double> _lastTickSeconds;
    std::optional<FaceRect> _seenFace;

    // Of the drawing thread.
    LayerRenderer _layers;
    std::shared_ptr<const std::optional<Layer>> _drawnInk;
    TextureRef _drawnSlide;
    bool _areLayersSet = false;

    std::shared_ptr<HandPoseFeed> _handPoseFeed;
    std::shared_ptr<FaceDetectFeed> _faceDetectFeed; // null: none
};

} // namespace lanternfly
