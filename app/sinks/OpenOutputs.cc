#include "app/sinks/OpenOutputs.h"

#include <stdexcept>

#include "app/CommandError.h"
#include "base/Match.h"
#include "diagnostics/FrameChannel.h"
#include "platform/linux/pipewire/Microphone.h"
#include "platform/linux/pipewire/VirtualCamera.h"
#include "platform/linux/v4l2/LoopbackSink.h"
#include "platform/linux/video/RecordingSink.h"

namespace lanternfly {

std::vector<std::unique_ptr<FrameSink>> openOutputs(const std::vector<OutputChoice>& choices,
                                                    const OutputPicture& picture) {
    const int width = picture.width > 0 ? picture.width : FrameChannel::frameWidth;
    const int height = picture.height > 0 ? picture.height : FrameChannel::frameHeight;
    std::vector<std::unique_ptr<FrameSink>> sinks;
    try {
        for (const OutputChoice& choice : choices)
            sinks.push_back(match(
                choice,
                [&](const PipeWireOutput&) -> std::unique_ptr<FrameSink> {
                    return std::make_unique<pipewire::VirtualCamera>(
                        pipewire::VirtualCameraDescription{
                            .name = FrameChannel::deviceLocalizedName,
                            .manufacturer = FrameChannel::deviceManufacturer,
                            .model = FrameChannel::deviceModel,
                            .streamTag = FrameChannel::sourceStreamTag,
                            .width = width,
                            .height = height,
                            .framesPerSecond = FrameChannel::frameRate});
                },
                [&](const LoopbackOutput& output) -> std::unique_ptr<FrameSink> {
                    return std::make_unique<v4l2::LoopbackSink>(
                        v4l2::LoopbackOptions{.node = output.node,
                                              .label = FrameChannel::deviceLocalizedName,
                                              .width = width,
                                              .height = height,
                                              .framesPerSecond = FrameChannel::frameRate});
                },
                [&](const FileOutput& output) -> std::unique_ptr<FrameSink> {
                    return std::make_unique<RecordingSink>(RecordingOptions{
                        .file = output.file,
                        .width = width,
                        .height = height,
                        .frameRate = {FrameChannel::frameRate, 1},
                        .sound =
                            picture.hasSound ? std::make_shared<pipewire::Microphone>() : nullptr});
                }));
    } catch (const std::runtime_error& error) { // CameraError, VideoError: sentences for the user
        throw CommandError(error.what());
    }
    return sinks;
}

} // namespace lanternfly
