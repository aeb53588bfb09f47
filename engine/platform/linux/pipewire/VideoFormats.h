// PipeWire's video formats in our terms, and the parameter objects that streams exchange.
// Threads: value.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include "platform/linux/camera/FrameDecoder.h"

namespace lanternfly::pipewire {

struct VideoFormat {
    FrameEncoding encoding = FrameEncoding::yuyv;
    int width = 0, height = 0; // px
    spa_fraction rate{30, 1};  // frames per second; 0/1: varies

    friend bool operator==(const VideoFormat& a, const VideoFormat& b) {
        return a.encoding == b.encoding && a.width == b.width && a.height == b.height &&
               a.rate.num == b.rate.num && a.rate.denom == b.rate.denom;
    }
};

// "YUY2", "MJPG": for people.
const char* nameOf(FrameEncoding encoding);

// Nothing for formats that are not decoded.
std::optional<FrameEncoding> encodingOf(spa_video_format format);
// SPA_VIDEO_FORMAT_UNKNOWN for motion JPEG, which is no raw format.
spa_video_format formatOf(FrameEncoding encoding);
// How the stream's numbers become colours.
FrameColour colourOf(const spa_video_info_raw& format);

// Parameter objects, which live in a buffer of this object's.
class Parameters {
public:
    Parameters();
    Parameters(const Parameters&) = delete;
    Parameters& operator=(const Parameters&) = delete;

    // One choice of those that are offered.
    void addFormat(const VideoFormat& format);
    // How a stream's buffers are: one block each.
    void addBuffers(size_t bytes, size_t strideBytes);
    // The same for whoever reads a stream and takes any size.
    void addAnyBuffers();
    // Buffers carry times.
    void addHeaders();

    std::span<const spa_pod*> all() { return _all; }

private:
    void addBufferObject(std::optional<std::pair<size_t, size_t>> sizes);

    std::vector<uint8_t> _bytes;
    spa_pod_builder _builder;
    std::vector<const spa_pod*> _all;
};

} // namespace lanternfly::pipewire
