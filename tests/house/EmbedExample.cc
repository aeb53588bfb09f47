// The README's way of embedding the engine, compiled so that it stays true: readme_test.py holds
// the lines between the two marks against the README.
#include "capture/HandPoseFeed.h"
#include "gestures/PinchRecognizer.h"
#include "gpu/cpu/CpuDevice.h"
#include "motion/AppearanceDriver.h"
#include "motion/PinchTransformController.h"
#include "platform/linux/vision/OpenCvHandPoseDetector.h"
#include "render/FrameCompositor.h"

#include <functional>

using namespace lanternfly;

void presentWith(const std::function<PixelBufferRef(MediaTime&)>& nextCameraFrame,
                 const std::function<void(PixelBufferRef)>& show, const TextureRef& slide);

void presentWith(const std::function<PixelBufferRef(MediaTime&)>& nextCameraFrame,
                 const std::function<void(PixelBufferRef)>& show, const TextureRef& slide) {
    // README begin
    const Clock& clock = SystemClock::shared();
    auto compositor = FrameCompositor::create(CpuDevice::create(), 1920, 1080);
    compositor->setSlideTexture(slide, false);
    auto driver = std::make_shared<AppearanceDriver>(clock, OverlayTransform::day4Default, 0.3);
    PinchTransformController controller(clock, driver);
    PinchRecognizer recognizer(clock);
    recognizer.setEventCallback([&](const PinchEvent& event) { controller.handle(event); });
    auto feed = HandPoseFeed::create(clock, std::make_unique<OpenCvHandPoseDetector>);
    feed->setPoseCallback([&](std::span<const HandPose> hands) { recognizer.process(hands); });
    feed->start();
    MediaTime pts;
    while (PixelBufferRef picture = nextCameraFrame(pts)) {
        feed->process(picture, pts); // returns at once
        compositor->setTransform(driver->snapshot().transform);
        show(compositor->composite(picture, true, FullComposition{}, 0));
    }
    // README end
    feed->stop();
    feed->waitUntilIdle();
}
