#include "platform/linux/v4l2/V4l2Queue.h"

#include <algorithm>
#include <cerrno>

#include <sys/mman.h>

#include "platform/linux/v4l2/PixelFormats.h"

namespace lanternfly::v4l2 {
namespace {

constexpr uint32_t bufferCount = 4;

v4l2_buffer bufferOf(uint32_t index) {
    v4l2_buffer buffer{};
    buffer.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    buffer.memory = V4L2_MEMORY_MMAP;
    buffer.index = index;
    return buffer;
}

} // namespace

V4l2Queue::V4l2Queue(const std::filesystem::path& node, std::string name)
    : _name(std::move(name)), _device(node) {
    if (!_device) throw errorOf(_device.error(), _name);
}

V4l2Queue::~V4l2Queue() {
    releaseBuffers();
}

void V4l2Queue::require(int code) const {
    if (code != 0) throw errorOf(code, _name);
}

FrameLayout V4l2Queue::configure(const CameraMode& mode, MediaTime frameDuration) {
    releaseBuffers();
    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    format.fmt.pix.width = static_cast<uint32_t>(mode.width);
    format.fmt.pix.height = static_cast<uint32_t>(mode.height);
    format.fmt.pix.pixelformat = mode.fourcc;
    format.fmt.pix.field = V4L2_FIELD_NONE;
    require(_device.request(VIDIOC_S_FMT, &format));
    const v4l2_pix_format& chosen = format.fmt.pix;
    const auto encoding = encodingOf(chosen.pixelformat);
    if (!encoding || chosen.width > PixelBuffer::maxSidePX ||
        chosen.height > PixelBuffer::maxSidePX)
        throw errorOf(EINVAL, _name);

    if (const auto interval = intervalOf(frameDuration)) {
        v4l2_streamparm parameters{};
        parameters.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
        parameters.parm.capture.timeperframe = *interval;
        _device.request(VIDIOC_S_PARM, &parameters); // many cameras have one rate and no choice
    }
    requestBuffers(bufferCount);
    return {.encoding = *encoding,
            .width = static_cast<int>(chosen.width),
            .height = static_cast<int>(chosen.height),
            .strideBytes = chosen.bytesperline,
            .colour = colourOf(chosen)};
}

void V4l2Queue::requestBuffers(uint32_t count) {
    v4l2_requestbuffers wanted{};
    wanted.count = count;
    wanted.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    wanted.memory = V4L2_MEMORY_MMAP;
    require(_device.request(VIDIOC_REQBUFS, &wanted));
    _ownsBuffers = true;
    if (wanted.count < 2) throw errorOf(ENOMEM, _name);
    for (uint32_t i = 0; i < std::min(wanted.count, count); ++i) {
        v4l2_buffer buffer = bufferOf(i);
        require(_device.request(VIDIOC_QUERYBUF, &buffer));
        void* const start = ::mmap(nullptr, buffer.length, PROT_READ, MAP_SHARED,
                                   _device.descriptor(), buffer.m.offset);
        if (start == MAP_FAILED) throw errorOf(errno, _name);
        _mappings.push_back({start, buffer.length});
    }
}

void V4l2Queue::releaseBuffers() {
    streamOff();
    if (!_ownsBuffers) return;
    for (const Mapping& mapping : _mappings)
        ::munmap(mapping.start, mapping.bytes);
    _mappings.clear();
    v4l2_requestbuffers none{};
    none.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    none.memory = V4L2_MEMORY_MMAP;
    _device.request(VIDIOC_REQBUFS, &none);
    _ownsBuffers = false;
}

void V4l2Queue::streamOn() {
    for (uint32_t i = 0; i < _mappings.size(); ++i) {
        v4l2_buffer buffer = bufferOf(i);
        require(_device.request(VIDIOC_QBUF, &buffer));
    }
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    require(_device.request(VIDIOC_STREAMON, &type));
    _isStreaming = true;
}

void V4l2Queue::streamOff() {
    if (!_isStreaming) return;
    int type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    _device.request(VIDIOC_STREAMOFF, &type); // also takes all buffers back
    _isStreaming = false;
}

std::optional<V4l2Queue::Frame> V4l2Queue::dequeue() {
    v4l2_buffer buffer = bufferOf(0);
    const int code = _device.request(VIDIOC_DQBUF, &buffer);
    if (code == EAGAIN) return std::nullopt;
    require(code);
    if (buffer.index >= _mappings.size()) throw errorOf(EIO, _name);
    const Mapping& mapping = _mappings[buffer.index];
    const size_t used = std::min<size_t>(buffer.bytesused, mapping.bytes);
    return Frame{buffer.index,
                 {static_cast<const uint8_t*>(mapping.start), used},
                 (buffer.flags & V4L2_BUF_FLAG_ERROR) != 0};
}

void V4l2Queue::enqueue(uint32_t index) {
    v4l2_buffer buffer = bufferOf(index);
    require(_device.request(VIDIOC_QBUF, &buffer));
}

} // namespace lanternfly::v4l2
