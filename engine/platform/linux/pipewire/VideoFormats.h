// PipeWire's video formats in our terms, and the parameter objects that streams exchange.
// Threads: value.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include "platform/linux/camera/FrameDecoder.h"

namespace lanternfly::pipewire {

struct VideoFormat {
    FrameEncoding encoding = FrameEncoding::yuyv;
    int width = 0, height = 0; // px
    spa_fraction rate{30, 1};  // frames per second; 0/1: varies
};

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
    // Buffers carry times.
    void addHeaders();

    std::span<const spa_pod*> all() { return _all; }

private:
    std::vector<uint8_t> _bytes;
    spa_pod_builder _builder;
    std::vector<const spa_pod*> _all;
};

} // namespace lanternfly::pipewire
