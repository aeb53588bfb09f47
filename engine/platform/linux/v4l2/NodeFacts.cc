#include "platform/linux/v4l2/NodeFacts.h"

#include <algorithm>
#include <array>
#include <string_view>

#include "base/Identity.h"

namespace lanternfly::v4l2 {
namespace {

std::string printable(std::string_view text) {
    std::string clean(text);
    std::ranges::replace_if(
        clean, [](unsigned char c) { return c < ' ' || c == 127; }, ' ');
    const auto first = clean.find_first_not_of(' ');
    if (first == std::string::npos) return {};
    return clean.substr(first, clean.find_last_not_of(' ') - first + 1);
}

bool isOwnCamera(const NodeFacts& facts) {
    const std::string name = nameOf(facts);
    return isVirtual(facts) &&
           (name == identity::virtualCameraModel || name == identity::virtualCameraName);
}

} // namespace

bool isVirtual(const NodeFacts& facts) {
    constexpr std::array loopbackDrivers{"v4l2 loopback", "akvcam"};
    return std::ranges::find(loopbackDrivers, facts.driver) != loopbackDrivers.end() ||
           facts.syspath.starts_with("/sys/devices/virtual/");
}

CameraDeviceType typeOf(const NodeFacts& facts) {
    if (isVirtual(facts)) return CameraDeviceType::external;
    if (facts.hasUsbParent)
        return facts.removable == "fixed" ? CameraDeviceType::builtInWideAngleCamera
                                          : CameraDeviceType::external;
    // Sensors on the board's own bus are part of the machine; cards on PCI grab what is plugged
    // into them.
    return facts.hasPciParent ? CameraDeviceType::external
                              : CameraDeviceType::builtInWideAngleCamera;
}

uint32_t transportTypeOf(const NodeFacts& facts) {
    if (isVirtual(facts)) return CameraTransportType::virtualDevice;
    if (typeOf(facts) == CameraDeviceType::builtInWideAngleCamera)
        return CameraTransportType::builtIn;
    return facts.hasUsbParent ? CameraTransportType::usb : CameraTransportType::unknown;
}

std::string nameOf(const NodeFacts& facts) {
    std::string name = printable(facts.card.empty() ? facts.sysfsName : facts.card);
    // The second half may be cut off: drivers have 31 characters.
    if (const auto colon = name.find(": "); colon != std::string::npos && colon > 0) {
        const std::string_view first(name.data(), colon);
        const std::string_view second = std::string_view(name).substr(colon + 2);
        if (first.starts_with(second)) name.resize(colon);
    }
    if (name.empty()) name = printable(facts.product);
    return name.empty() ? "Camera " + facts.node : name;
}

std::string manufacturerOf(const NodeFacts& facts) {
    return isOwnCamera(facts) ? identity::manufacturer : printable(facts.manufacturer);
}

std::string modelOf(const NodeFacts& facts) {
    if (isOwnCamera(facts)) return identity::virtualCameraModel;
    return facts.product.empty() ? nameOf(facts) : printable(facts.product);
}

std::string idOf(const NodeFacts& facts, const std::set<std::string>& taken) {
    const std::string& named = facts.byId;
    const std::string withPort =
        named.empty() ? facts.byPath
                      : named + "@" + (facts.byPath.empty() ? facts.node : facts.byPath);
    const std::string onBus =
        facts.busInfo.empty() ? std::string() : "v4l2:" + printable(facts.busInfo);
    for (const std::string& id : {named, withPort, onBus, "v4l2:" + facts.node})
        if (!id.empty() && !taken.contains(id)) return id;
    return facts.syspath;
}

} // namespace lanternfly::v4l2
