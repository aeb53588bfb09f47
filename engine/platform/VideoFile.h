// Ports: pictures out of a video file, and pictures into one.
// Threads: bound; a reader and a writer may each live on a thread of their own.
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

#include "base/MediaTime.h"
#include "base/PixelBuffer.h"

namespace lanternfly {

// what() is one sentence for the user that names the file and what to do next.
class VideoError : public std::runtime_error {
public:
    enum class Kind {
        notFound,       // no such file, or not readable by this user
        notAVideo,      // cannot be understood as a video file at all
        noPicture,      // has no video stream (sound only), or none that can be decoded
        tooLarge,       // pictures beyond 8K
        allHeld,        // consumers keep as many pictures as they may; reading can go on
        badRequest,     // a size or a file name that no video can have
        cannotWrite,    // the place to write to cannot be written
        diskFull,       // no room left, or a size limit reached
        encoderMissing, // this machine has no H.264 encoder
        failed,         // anything else the libraries report
    };
    VideoError(Kind reason, const std::string& text) : std::runtime_error(text), kind(reason) {}
    const Kind kind;
};

struct VideoRate {
    int32_t numerator = 30; // both above 0
    int32_t denominator = 1;

    double framesPerSecond() const { return static_cast<double>(numerator) / denominator; }
    friend bool operator==(const VideoRate&, const VideoRate&) = default;
};

struct VideoInfo {
    // Of the upright picture, in stored pixels; a later frame may differ.
    int width = 0, height = 0;
    // Width over height as shown: differs from width / height when the pixels are not square.
    double displayAspect = 0;
    // Nominal; frames carry their own times.
    VideoRate frameRate;
    // As the file claims; 0 when it does not say.
    int64_t frameCount = 0;
};

struct VideoFrame {
    PixelBufferRef picture; // upright, opaque BGRA, full range
    MediaTime pts;          // from the start of the file; strictly rising from frame to frame
};

class VideoReader {
public:
    virtual ~VideoReader() = default;
    virtual const VideoInfo& info() const = 0;
    // The next frame, or nothing at the end. What can be decoded of a damaged file is delivered;
    // a file without a single good frame throws VideoError.
    virtual std::optional<VideoFrame> next() = 0;
    // After the end: what was wrong with the file, in a sentence; empty for a whole file.
    virtual std::string damage() const = 0;
};

struct VideoWriterOptions {
    // The name decides the container: .mp4 or .mkv.
    std::filesystem::path file;
    int width = 0, height = 0; // even
    VideoRate frameRate;
    // Sound streams are copied from this file, unchanged.
    std::optional<std::filesystem::path> soundFrom;
    // Written while it happens: encoded with less effort, and an MP4 too plays as far as it got.
    bool isLive = false;
    // Beside the pictures comes live sound.
    bool hasLiveSound = false;
};

class VideoWriter {
public:
    enum class Sound { whole, untilLastPicture };

    // A writer that goes without finish() leaves no MP4; a Matroska file and what is live stay as
    // far as they got.
    virtual ~VideoWriter() = default;
    // BGRA of the options' size; times must rise. Throws VideoError.
    virtual void write(const PixelBuffer& picture, MediaTime pts) = 0;
    // Completes the file under its name, replacing what was there. Throws VideoError.
    virtual void finish(Sound sound) = 0;
    // What could not be carried over, one sentence each ("sound stream 2 …").
    virtual const std::vector<std::string>& notes() const = 0;
};

} // namespace lanternfly
