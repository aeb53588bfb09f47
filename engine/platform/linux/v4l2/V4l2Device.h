// An open video node: its requests, and what its failures mean to the user.
// Threads: bound.
#pragma once

#include <filesystem>
#include <string>

#include "base/UniqueFd.h"
#include "platform/CameraDevice.h"

namespace lanternfly::v4l2 {

// What an errno of the camera `name` means.
CameraError errorOf(int code, const std::string& name);

class V4l2Device {
public:
    // Opens without waiting. `error()` says why nothing is open.
    explicit V4l2Device(const std::filesystem::path& node);

    explicit operator bool() const { return static_cast<bool>(_descriptor); }
    int error() const { return _error; }
    int descriptor() const { return _descriptor.get(); }

    // 0 or the errno.
    int request(unsigned long code, void* argument) const;

private:
    UniqueFd _descriptor;
    int _error = 0;
};

} // namespace lanternfly::v4l2
