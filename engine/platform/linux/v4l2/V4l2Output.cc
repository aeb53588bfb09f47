#include "platform/linux/v4l2/V4l2Output.h"

#include <algorithm>
#include <cerrno>

#include <fmt/format.h>
#include <unistd.h>

#include "platform/linux/v4l2/PixelFormats.h"

namespace lanternfly::v4l2 {
namespace {

using Kind = CameraError::Kind;

constexpr const char* howToGetOne =
    "load one as root with \"modprobe v4l2loopback exclusive_caps=1 card_label=Lanternfly\" "
    "(package v4l2loopback-dkms), or use the virtual camera of PipeWire, which needs no driver";

} // namespace

V4l2Output::V4l2Output(const std::filesystem::path& node, int width, int height,
                       int framesPerSecond)
    : _name(node.string()), _device(node) {
    if (!_device && _device.error() == ENOENT)
        throw CameraError(Kind::disconnected,
                          fmt::format("there is no {}; {}", _name, howToGetOne));
    if (!_device) throw errorOf(_device.error(), _name);
    v4l2_capability capability{};
    const int asked = _device.request(VIDIOC_QUERYCAP, &capability);
    const uint32_t can = (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0
                             ? capability.device_caps
                             : capability.capabilities;
    if (asked != 0 || (can & V4L2_CAP_VIDEO_OUTPUT) == 0)
        throw CameraError(Kind::failed,
                          fmt::format("{} takes no pictures, as a loopback device would; {}", _name,
                                      howToGetOne));

    v4l2_format format{};
    format.type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
    v4l2_pix_format& picture = format.fmt.pix;
    picture.width = static_cast<uint32_t>(width);
    picture.height = static_cast<uint32_t>(height);
    // Every program reads it.
    picture.pixelformat = V4L2_PIX_FMT_YUYV;
    picture.field = V4L2_FIELD_NONE;
    picture.bytesperline = picture.width * 2;
    picture.sizeimage = picture.bytesperline * picture.height;
    picture.colorspace = V4L2_COLORSPACE_SRGB;
    picture.ycbcr_enc = V4L2_YCBCR_ENC_601;
    picture.quantization = V4L2_QUANTIZATION_LIM_RANGE;
    require(_device.request(VIDIOC_S_FMT, &format));
    if (const auto encoding = encodingOf(picture.pixelformat);
        encoding && picture.width <= PixelBuffer::maxSidePX &&
        picture.height <= PixelBuffer::maxSidePX) {
        const auto made = FrameEncoder::create({.encoding = *encoding,
                                                .width = static_cast<int>(picture.width),
                                                .height = static_cast<int>(picture.height),
                                                .strideBytes = picture.bytesperline,
                                                .colour = {}});
        if (made) _encoder.emplace(*made);
    }
    if (!_encoder)
        throw CameraError(Kind::failed,
                          fmt::format("{} is set to {}x{} {}, which cannot be written; close the "
                                      "programs that read it, or reload its driver",
                                      _name, picture.width, picture.height,
                                      fourccText(picture.pixelformat)));
    _bytes.resize(_encoder->frameBytes());

    v4l2_streamparm parameters{};
    parameters.type = V4L2_BUF_TYPE_VIDEO_OUTPUT;
    parameters.parm.output.timeperframe = {1, static_cast<uint32_t>(framesPerSecond)};
    _device.request(VIDIOC_S_PARM, &parameters); // readers ask for it; some drivers have no choice
}

void V4l2Output::require(int code) const {
    if (code != 0) throw errorOf(code, _name);
}

bool V4l2Output::write(const PixelBuffer& frame) {
    if (!_encoder->encode(frame, _bytes)) return false;
    ssize_t written;
    do {
        written = ::write(_device.descriptor(), _bytes.data(), _bytes.size());
    } while (written < 0 && errno == EINTR);
    if (written < 0 && errno == EAGAIN) return false;
    if (written < 0) require(errno);
    return true;
}

std::filesystem::path loopbackNode(const std::vector<NodeFacts>& outputs,
                                   const std::string& label) {
    std::vector<NodeFacts> loopbacks;
    std::ranges::copy_if(outputs, std::back_inserter(loopbacks),
                         [](const NodeFacts& facts) { return facts.driver == "v4l2 loopback"; });
    const auto labelled = std::ranges::find(loopbacks, label, &NodeFacts::card);
    if (labelled != loopbacks.end()) return labelled->node;
    if (!loopbacks.empty()) return loopbacks.front().node;
    throw CameraError(Kind::disconnected,
                      fmt::format("there is no loopback device; {}", howToGetOne));
}

} // namespace lanternfly::v4l2
