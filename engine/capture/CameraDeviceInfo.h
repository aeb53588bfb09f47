// A camera that the host may offer to the user.
// Threads: value.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "platform/CameraDevice.h"

namespace lanternfly {

struct CameraDeviceInfo {
    enum class Kind { continuity, external, builtIn, other };
    enum class Transport { continuity, usb, builtIn, virtualDevice, other };

    std::string id; // the device's unique identifier
    std::string name;
    Kind kind = Kind::other;
    Transport transport = Transport::other;

    static CameraDeviceInfo of(const CameraDevice& device);

    bool isVirtual() const { return transport == Transport::virtualDevice; }
    bool isContinuity() const { return kind == Kind::continuity; }
    friend bool operator==(const CameraDeviceInfo&, const CameraDeviceInfo&) = default;
};

const char* nameOf(CameraDeviceInfo::Kind kind);
const char* nameOf(CameraDeviceInfo::Transport transport);

} // namespace lanternfly

template <>
struct std::hash<lanternfly::CameraDeviceInfo> {
    size_t operator()(const lanternfly::CameraDeviceInfo& info) const noexcept;
};
