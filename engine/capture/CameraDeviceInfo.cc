#include "capture/CameraDeviceInfo.h"

namespace lanternfly {
namespace {

using Kind = CameraDeviceInfo::Kind;
using Transport = CameraDeviceInfo::Transport;

Kind kindOf(CameraDeviceType type) {
    switch (type) {
    case CameraDeviceType::continuityCamera:
        return Kind::continuity;
    case CameraDeviceType::external:
        return Kind::external;
    case CameraDeviceType::builtInWideAngleCamera:
        return Kind::builtIn;
    case CameraDeviceType::other:
        return Kind::other;
    }
    return Kind::other;
}

Transport transportOf(const CameraDevice& device) {
    switch (device.transportType()) {
    case CameraTransportType::virtualDevice:
        return Transport::virtualDevice;
    case CameraTransportType::usb:
        return Transport::usb;
    case CameraTransportType::continuity:
        return Transport::continuity;
    case CameraTransportType::builtIn:
        return Transport::builtIn;
    default:
        break;
    }
    if (device.type() == CameraDeviceType::continuityCamera) return Transport::continuity;
    if (device.type() == CameraDeviceType::builtInWideAngleCamera) return Transport::builtIn;
    return Transport::other;
}

} // namespace

CameraDeviceInfo CameraDeviceInfo::of(const CameraDevice& device) {
    return {device.uniqueID(), device.localizedName(), kindOf(device.type()), transportOf(device)};
}

const char* nameOf(Kind kind) {
    switch (kind) {
    case Kind::continuity:
        return "continuity";
    case Kind::external:
        return "external";
    case Kind::builtIn:
        return "builtIn";
    case Kind::other:
        return "other";
    }
    return "other";
}

const char* nameOf(Transport transport) {
    switch (transport) {
    case Transport::continuity:
        return "continuity";
    case Transport::usb:
        return "usb";
    case Transport::builtIn:
        return "builtIn";
    case Transport::virtualDevice:
        return "virtual";
    case Transport::other:
        return "other";
    }
    return "other";
}

} // namespace lanternfly

size_t std::hash<lanternfly::CameraDeviceInfo>::operator()(
    const lanternfly::CameraDeviceInfo& info) const noexcept {
    const std::hash<std::string> text;
    size_t mixed = text(info.id);
    for (const size_t part :
         {text(info.name), static_cast<size_t>(info.kind), static_cast<size_t>(info.transport)})
        mixed = mixed * 31 + part;
    return mixed;
}
