#include "app/inspect/HandRecording.h"

#include <stdexcept>

namespace lanternfly {

PoseTrack recordHands(HandRecording setup) {
    // The feed waits for each detection, so the clock tells how long it really took.
    const Clock& clock = SystemClock::shared();
    const auto feed = HandPoseFeed::create(clock, std::move(setup.makeDetector));
    PoseTrack track;
    track.header.frameRate = setup.video.info().frameRate.framesPerSecond();
    feed->setPoseCallback([&](std::span<const HandPose> poses) {
        track.frames.back().poses.assign(poses.begin(), poses.end());
    });
    feed->start();
    feed->waitUntilIdle();
    while (auto frame = setup.video.next()) {
        const auto picture =
            setup.framing.apply(std::move(frame->picture), setup.video.info().displayAspect);
        if (!picture) throw std::runtime_error("out of memory for the camera pictures");
        if (track.frames.size() == PoseTrackLimits::frames)
            throw std::runtime_error("the video is too long; cut it into pieces");
        track.header.widthPX = picture->width();
        track.header.heightPX = picture->height();
        PoseTrackFrame& seen = track.frames.emplace_back();
        seen.seconds = frame->pts.seconds();
        const uint64_t before = clock.uptimeNanos();
        feed->process(picture, frame->pts);
        feed->waitUntilIdle();
        seen.detectionMs = static_cast<double>(clock.uptimeNanos() - before) / 1e6;
        if (!setup.onProgress(static_cast<int64_t>(track.frames.size()))) break;
    }
    feed->stop();
    feed->setPoseCallback(nullptr);
    feed->waitUntilIdle();
    return track;
}

} // namespace lanternfly
