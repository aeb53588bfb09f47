#include "support/MockVideoNode.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <stdexcept>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace lanternfly::test {
namespace {

constexpr uint32_t bufferBytes = 1 << 20;
constexpr uint32_t bufferCount = 4;

template <size_t count>
void fill(unsigned char (&field)[count], const std::string& text) {
    std::memcpy(field, text.data(), std::min(text.size(), count - 1));
}

void require(bool isDone, GError* error) {
    if (!isDone) throw std::runtime_error(error ? error->message : "umockdev failed");
}

} // namespace

MockVideoNode::MockVideoNode(MockMachine& machine, Description description)
    : _machine(machine), _description(std::move(description)), _base(umockdev_ioctl_base_new()),
      _mode(_description.modes.empty() ? Mode{} : _description.modes.front()) {
    g_signal_connect(_base, "handle-ioctl", G_CALLBACK(onRequest), this);
    g_signal_connect(_base, "client-vanished", G_CALLBACK(onVanished), this);
}

MockVideoNode::~MockVideoNode() {
    if (_isPlugged) unplug();
    g_object_unref(_base);
    if (_file >= 0) ::close(_file);
}

std::string MockVideoNode::parentPath() const {
    return "/sys/devices/pci0/usb1/1-" + std::to_string(_description.number);
}

std::string MockVideoNode::syspath() const {
    const std::string number = std::to_string(_description.number);
    return (_description.removable.empty() ? "/sys/devices/virtual"
                                           : parentPath() + "/1-" + number + ":1.0") +
           "/video4linux/video" + number;
}

void MockVideoNode::plug() {
    const std::string number = std::to_string(_description.number);
    const std::string devpath = syspath().substr(std::strlen("/sys"));
    std::string text;
    if (!_description.removable.empty())
        text += "P: " + parentPath().substr(std::strlen("/sys")) +
                "\nE: SUBSYSTEM=usb\nE: DEVTYPE=usb_device\nA: manufacturer=" +
                _description.manufacturer + "\\n\nA: product=" + _description.product +
                "\\n\nA: removable=" + _description.removable + "\\n\n\n";
    text += "P: " + devpath + "\nN: video" + number + "=00\n";
    if (!_description.byId.empty()) text += "S: v4l/by-id/" + _description.byId + "\n";
    text += "E: DEVNAME=/dev/video" + number +
            "\nE: SUBSYSTEM=video4linux\nE: MAJOR=81\nE: MINOR=" + number +
            "\nE: ID_V4L_CAPABILITIES=:capture:\n";
    // umockdev reads UTF-8; what the driver says need not be.
    if (g_utf8_validate(_description.card.c_str(), -1, nullptr))
        text += "A: name=" + _description.card + "\\n\n";
    GError* error = nullptr;
    require(umockdev_testbed_attach_ioctl(_machine.testbed(), node().c_str(), _base, &error),
            error);
    // The testbed tells of the node as soon as it has it: requests wait until it is whole.
    const std::lock_guard guard(_mutex);
    require(umockdev_testbed_add_from_string(_machine.testbed(), text.c_str(), &error), error);
    // The node is an ordinary file, which is what buffers are mapped from.
    _file = ::open((_machine.root() + node()).c_str(), O_RDWR | O_CLOEXEC);
    require(_file >= 0 && ::ftruncate(_file, bufferCount * bufferBytes) == 0, nullptr);
    _isGone = false;
    _isPlugged = true;
}

void MockVideoNode::unplug() {
    pullOutUnnoticed();
    umockdev_testbed_uevent(_machine.testbed(), syspath().c_str(), "remove");
    GError* error = nullptr;
    require(umockdev_testbed_detach_ioctl(_machine.testbed(), node().c_str(), &error), error);
    umockdev_testbed_remove_device(_machine.testbed(), syspath().c_str());
    if (!_description.removable.empty())
        umockdev_testbed_remove_device(_machine.testbed(), parentPath().c_str());
    ::unlink((_machine.root() + "/dev/v4l/by-id/" + _description.byId).c_str());
    ::close(std::exchange(_file, -1));
    _isPlugged = false;
}

void MockVideoNode::pullOutUnnoticed() {
    const std::lock_guard guard(_mutex);
    _isGone = true;
    _isStreaming = false;
    _owner = nullptr;
    _queued.clear();
}

void MockVideoNode::deny() {
    const std::string root = _machine.root();
    require(::chmod(root.c_str(), 0755) == 0 && ::chmod((root + node()).c_str(), 0600) == 0 &&
                // umockdev wants to reach this one also when a node cannot be opened.
                ::chmod((root + "/ioctl" + node()).c_str(), 0777) == 0,
            nullptr);
}

void MockVideoNode::fail(unsigned long request, int code) {
    const std::lock_guard guard(_mutex);
    _failures[request] = code;
}

void MockVideoNode::setSilent(bool isSilent) {
    const std::lock_guard guard(_mutex);
    _isSilent = isSilent;
}

void MockVideoNode::setFrame(std::vector<uint8_t> bytes) {
    const std::lock_guard guard(_mutex);
    _frame = std::move(bytes);
}

int MockVideoNode::streamOns() const {
    const std::lock_guard guard(_mutex);
    return _streamOns;
}

bool MockVideoNode::waitForStreamOns(int count) {
    std::unique_lock lock(_mutex);
    return _streamAsked.wait_for(lock, std::chrono::seconds(60),
                                 [&] { return _streamOns >= count; });
}

v4l2_fract MockVideoNode::lastInterval() const {
    const std::lock_guard guard(_mutex);
    return _interval;
}

void MockVideoNode::onVanished(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer self) {
    auto& node = *static_cast<MockVideoNode*>(self);
    const std::lock_guard guard(node._mutex);
    if (node._owner != client) return;
    node._owner = nullptr;
    node._isStreaming = false;
    node._queued.clear();
}

gboolean MockVideoNode::onRequest(UMockdevIoctlBase*, UMockdevIoctlClient* client, gpointer self) {
    const gulong request = umockdev_ioctl_client_get_request(client);
    const auto size = static_cast<gsize>(_IOC_SIZE(request));
    UMockdevIoctlData* const data =
        umockdev_ioctl_data_resolve(umockdev_ioctl_client_get_arg(client), 0, size, nullptr);
    int code = EFAULT;
    if (data) {
        std::vector<uint8_t> argument(data->data, data->data + data->data_len);
        argument.resize(size);
        code = static_cast<MockVideoNode*>(self)->answer(client, request, argument.data());
        if (code == 0)
            umockdev_ioctl_data_update(data, 0, argument.data(), static_cast<gint>(size));
        g_object_unref(data);
    }
    umockdev_ioctl_client_complete(client, code == 0 ? 0 : -1, code);
    return TRUE;
}

// The index'th size of a pixel format.
const MockVideoNode::Mode* MockVideoNode::modeAt(uint32_t index, uint32_t fourcc) const {
    for (const Mode& mode : _description.modes)
        if (mode.fourcc == fourcc && index-- == 0) return &mode;
    return nullptr;
}

int MockVideoNode::answer(UMockdevIoctlClient* client, unsigned long request, void* argument) {
    const std::lock_guard guard(_mutex);
    if (_isGone) return ENODEV;
    if (request == VIDIOC_STREAMON) {
        ++_streamOns;
        _streamAsked.notify_all();
    }
    if (const auto failure = _failures.find(request); failure != _failures.end() && failure->second)
        return failure->second;
    const bool isOthers = _owner && _owner != client;
    switch (request) {
    case VIDIOC_QUERYCAP: {
        auto& answer = *static_cast<v4l2_capability*>(argument);
        answer = {};
        fill(answer.driver, _description.driver);
        fill(answer.card, _description.card);
        fill(answer.bus_info, "mock-" + std::to_string(_description.number));
        answer.device_caps = _description.capabilities;
        answer.capabilities = _description.capabilities | V4L2_CAP_DEVICE_CAPS;
        return 0;
    }
    case VIDIOC_ENUM_FMT: {
        auto& answer = *static_cast<v4l2_fmtdesc*>(argument);
        std::vector<uint32_t> fourccs;
        for (const Mode& mode : _description.modes)
            if (std::find(fourccs.begin(), fourccs.end(), mode.fourcc) == fourccs.end())
                fourccs.push_back(mode.fourcc);
        if (answer.index >= fourccs.size()) return EINVAL;
        answer.pixelformat = fourccs[answer.index];
        return 0;
    }
    case VIDIOC_ENUM_FRAMESIZES: {
        auto& answer = *static_cast<v4l2_frmsizeenum*>(argument);
        const Mode* const mode = modeAt(answer.index, answer.pixel_format);
        if (!mode) return EINVAL;
        answer.type = V4L2_FRMSIZE_TYPE_DISCRETE;
        answer.discrete = {mode->width, mode->height};
        return 0;
    }
    case VIDIOC_ENUM_FRAMEINTERVALS: {
        auto& answer = *static_cast<v4l2_frmivalenum*>(argument);
        for (const Mode& mode : _description.modes) {
            if (mode.fourcc != answer.pixel_format || mode.width != answer.width ||
                mode.height != answer.height)
                continue;
            if (answer.index >= mode.intervals.size()) return EINVAL;
            answer.type = V4L2_FRMIVAL_TYPE_DISCRETE;
            answer.discrete = mode.intervals[answer.index];
            return 0;
        }
        return EINVAL;
    }
    case VIDIOC_S_FMT:
        return isOthers ? EBUSY : setFormat(static_cast<v4l2_format*>(argument)->fmt.pix);
    case VIDIOC_S_PARM:
        _interval = static_cast<v4l2_streamparm*>(argument)->parm.capture.timeperframe;
        return 0;
    case VIDIOC_REQBUFS: {
        auto& answer = *static_cast<v4l2_requestbuffers*>(argument);
        if (isOthers) return EBUSY;
        answer.count = std::min(answer.count, bufferCount);
        _owner = answer.count > 0 ? client : nullptr;
        _queued.clear();
        return 0;
    }
    case VIDIOC_QUERYBUF: {
        auto& answer = *static_cast<v4l2_buffer*>(argument);
        if (isOthers || answer.index >= bufferCount) return EINVAL;
        answer.length = bufferBytes;
        answer.m.offset = answer.index * bufferBytes;
        return 0;
    }
    case VIDIOC_QBUF:
        if (isOthers) return EBUSY;
        _queued.push_back(static_cast<v4l2_buffer*>(argument)->index);
        return 0;
    case VIDIOC_STREAMON:
        if (isOthers) return EBUSY;
        _isStreaming = true;
        return 0;
    case VIDIOC_STREAMOFF:
        _isStreaming = false;
        _queued.clear();
        return 0;
    case VIDIOC_DQBUF:
        return dequeue(*static_cast<v4l2_buffer*>(argument));
    default:
        return ENOTTY;
    }
}

int MockVideoNode::setFormat(v4l2_pix_format& format) {
    for (const Mode& mode : _description.modes)
        if (mode.fourcc == format.pixelformat && mode.width == format.width &&
            mode.height == format.height)
            _mode = mode;
    format.pixelformat = _mode.fourcc;
    format.width = _mode.width;
    format.height = _mode.height;
    const bool isCompressed = _mode.fourcc == V4L2_PIX_FMT_MJPEG;
    format.bytesperline = isCompressed ? 0 : _mode.width * 2;
    format.sizeimage = bufferBytes;
    format.colorspace = V4L2_COLORSPACE_SRGB;
    format.ycbcr_enc = V4L2_YCBCR_ENC_DEFAULT;
    format.quantization = V4L2_QUANTIZATION_DEFAULT;
    return 0;
}

// Every second request has a frame, as if the camera took its time.
int MockVideoNode::dequeue(v4l2_buffer& buffer) {
    _hasFrame = !_hasFrame;
    if (!_isStreaming || _isSilent || _queued.empty() || !_hasFrame) return EAGAIN;
    buffer.index = _queued.front();
    _queued.erase(_queued.begin());
    const std::vector<uint8_t> zeros(_frame.empty() ? size_t{_mode.width} * _mode.height * 2 : 0);
    const auto& bytes = _frame.empty() ? zeros : _frame;
    if (::pwrite(_file, bytes.data(), bytes.size(),
                 static_cast<off_t>(buffer.index) * bufferBytes) < 0)
        return EIO;
    buffer.bytesused = static_cast<uint32_t>(bytes.size());
    buffer.length = bufferBytes;
    buffer.sequence = 7;          // stands still, as with some drivers
    buffer.timestamp = {9999, 0}; // lies in the future
    return 0;
}

} // namespace lanternfly::test
