#include "platform/linux/v4l2/V4l2Device.h"

#include <cerrno>
#include <system_error>

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/ioctl.h>

namespace lanternfly::v4l2 {

CameraError errorOf(int code, const std::string& name) {
    using Kind = CameraError::Kind;
    switch (code) {
    case EACCES:
    case EPERM:
        return {Kind::denied, fmt::format("no permission to use {}: add yourself to the group "
                                          "\"video\" (sudo usermod -aG video $USER) and log in "
                                          "again",
                                          name)};
    case EBUSY:
        return {Kind::busy, fmt::format("{} is in use by another program; close it there", name)};
    case ENODEV:
    case ENOENT:
    case ENXIO:
        return {Kind::disconnected, fmt::format("{} is not attached; plug it in", name)};
    case ENOSPC:
        return {Kind::failed, fmt::format("the USB port of {} has too little left to carry its "
                                          "picture; use another port, or unplug other cameras",
                                          name)};
    default:
        return {Kind::failed, fmt::format("{} failed: {}; unplug it and plug it in again", name,
                                          std::generic_category().message(code))};
    }
}

V4l2Device::V4l2Device(const std::filesystem::path& node)
    : _descriptor(::open(node.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC)) {
    if (!_descriptor) _error = errno;
}

int V4l2Device::request(unsigned long code, void* argument) const {
    int result;
    do {
        result = ::ioctl(_descriptor.get(), code, argument);
    } while (result < 0 && errno == EINTR);
    return result < 0 ? errno : 0;
}

} // namespace lanternfly::v4l2
