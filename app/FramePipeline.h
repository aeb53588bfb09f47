// What happens to a camera frame: hands are looked for, the slide follows them, the picture is
// composed. Owns the objects of one presentation and connects them; computes nothing.
// Threads: look() and draw() are each bound to one thread, which may be two.
#pragma once

#include <memory>

#include "app/EventLog.h"
#include "app/OverlayRouting.h"
#include "app/PinchIndicatorFade.h"
#include "base/Clock.h"
#include "capture/HandPoseFeed.h"
#include "gestures/PinchRecognizer.h"
#include "motion/AppearanceDriver.h"
#include "motion/PinchTransformController.h"
#include "render/FrameCompositor.h"

namespace lanternfly {

struct CameraFrame {
    PixelBufferRef picture;
    MediaTime pts;
    int64_t index = 0;
};

// A camera frame and how the slide stands in it.
struct Scene {
    CameraFrame frame;
    OverlaySnapshot overlay;
    PinchIndicatorState pinchIndicator;
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
        TextureRef slide; // first row at the bottom
        Detection detection = Detection::awaited;
        bool isMirrored = false;
        EventLog* events = nullptr;
    };

    // Returns when the detector is ready.
    explicit FramePipeline(Setup setup);
    ~FramePipeline();

    // The whole way of one frame. Null when it could not be composed.
    PixelBufferRef onFrame(CameraFrame frame) { return draw(look(std::move(frame))); }

    // The two halves, for a caller that lets the next frame be looked at while this one is drawn.
    Scene look(CameraFrame frame);
    PixelBufferRef draw(const Scene& scene);

    // No more frames come: returns when the last has been looked at.
    void finish();
    OverlayRouting::Tally tally() const { return _routing.tally(); }
    std::optional<PinchTransformController::LatencyReadout> latency() const {
        return _controller.latencyReadout();
    }

private:
    const Setup _setup;
    std::shared_ptr<AppearanceDriver> _driver;
    PinchTransformController _controller;
    PinchRecognizer _recognizer;
    OverlayRouting _routing;
    PinchIndicatorFade _indicatorFade;
    std::shared_ptr<HandPoseFeed> _handPoseFeed;
};

} // namespace lanternfly
