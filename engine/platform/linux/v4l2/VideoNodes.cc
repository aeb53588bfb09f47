#include "platform/linux/v4l2/VideoNodes.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <system_error>

#include <libudev.h>
#include <linux/videodev2.h>
#include <unistd.h>

namespace lanternfly::v4l2 {
namespace {

struct UdevUnref {
    void operator()(udev* context) const { udev_unref(context); }
    void operator()(udev_device* device) const { udev_device_unref(device); }
    void operator()(udev_enumerate* list) const { udev_enumerate_unref(list); }
};
template <typename Object>
using UdevPointer = std::unique_ptr<Object, UdevUnref>;

std::string textOf(const char* text) {
    return text ? text : "";
}

template <size_t count>
std::string textOf(const unsigned char (&text)[count]) {
    const auto* characters = reinterpret_cast<const char*>(text);
    return {characters, ::strnlen(characters, count)};
}

// Where a link leads; empty when it is none. One call: links come and go with the cameras.
std::filesystem::path targetOf(const std::filesystem::path& link) {
    char target[PATH_MAX];
    const ssize_t length = ::readlink(link.c_str(), target, sizeof target);
    return length > 0 ? std::filesystem::path(target, target + length) : std::filesystem::path();
}

// The name of the link to a node in a folder of links; empty when there is none.
std::string linkIn(const std::filesystem::path& folder, const std::filesystem::path& node) {
    std::error_code error;
    for (std::filesystem::directory_iterator link(folder, error), end; !error && link != end;
         link.increment(error))
        if (targetOf(*link).filename() == node.filename()) return link->path().filename().string();
    return {};
}

NodeFacts factsOf(udev_device& device) {
    NodeFacts facts;
    facts.syspath = textOf(udev_device_get_syspath(&device));
    facts.node = textOf(udev_device_get_devnode(&device));
    facts.byId = linkIn("/dev/v4l/by-id", facts.node);
    facts.byPath = linkIn("/dev/v4l/by-path", facts.node);
    facts.sysfsName = textOf(udev_device_get_sysattr_value(&device, "name"));
    // Parents belong to their child.
    if (udev_device* usb =
            udev_device_get_parent_with_subsystem_devtype(&device, "usb", "usb_device")) {
        facts.hasUsbParent = true;
        facts.removable = textOf(udev_device_get_sysattr_value(usb, "removable"));
        facts.manufacturer = textOf(udev_device_get_sysattr_value(usb, "manufacturer"));
        facts.product = textOf(udev_device_get_sysattr_value(usb, "product"));
    } else if (udev_device_get_parent_with_subsystem_devtype(&device, "pci", nullptr)) {
        facts.hasPciParent = true;
    }
    return facts;
}

// What the node can do, 0 when it does not say; adds what its driver tells to the facts.
uint32_t askDriver(const V4l2Device& open, NodeFacts& facts) {
    v4l2_capability capability{};
    if (open.request(VIDIOC_QUERYCAP, &capability) != 0) return 0;
    facts.driver = textOf(capability.driver);
    facts.card = textOf(capability.card);
    facts.busInfo = textOf(capability.bus_info);
    return (capability.capabilities & V4L2_CAP_DEVICE_CAPS) != 0 ? capability.device_caps
                                                                 : capability.capabilities;
}

// Nothing when the node is no camera.
std::optional<VideoNode> probe(udev_device& device) {
    VideoNode node{factsOf(device), {}, false};
    if (node.facts.node.empty()) return std::nullopt;
    const V4l2Device open(node.facts.node);
    if (!open) {
        node.isDenied = open.error() == EACCES || open.error() == EPERM;
        // udev has asked the node and knows whether pictures come out of it.
        const std::string can =
            textOf(udev_device_get_property_value(&device, "ID_V4L_CAPABILITIES"));
        if (!node.isDenied || can.find(":capture:") == std::string::npos) return std::nullopt;
        return node;
    }
    constexpr uint32_t needed = V4L2_CAP_VIDEO_CAPTURE | V4L2_CAP_STREAMING;
    if ((askDriver(open, node.facts) & needed) != needed) return std::nullopt;
    node.modes = modesOf(open);
    if (node.modes.empty()) return std::nullopt;
    return node;
}

template <typename Body>
void forEachNode(Body&& body) {
    const UdevPointer<udev> context(udev_new());
    if (!context) return;
    const UdevPointer<udev_enumerate> list(udev_enumerate_new(context.get()));
    udev_enumerate_add_match_subsystem(list.get(), "video4linux");
    udev_enumerate_scan_devices(list.get());
    udev_list_entry* entry = nullptr;
    udev_list_entry_foreach(entry, udev_enumerate_get_list_entry(list.get())) {
        const UdevPointer<udev_device> device(
            udev_device_new_from_syspath(context.get(), udev_list_entry_get_name(entry)));
        if (device) body(*device);
    }
}

// video2 before video10.
bool isBefore(const std::string& first, const std::string& second) {
    return first.size() != second.size() ? first.size() < second.size() : first < second;
}

} // namespace

std::vector<VideoNode> cameraNodes() {
    std::vector<VideoNode> nodes;
    forEachNode([&](udev_device& device) {
        if (auto node = probe(device)) nodes.push_back(std::move(*node));
    });
    std::ranges::sort(nodes, isBefore, [](const VideoNode& node) { return node.facts.node; });
    return nodes;
}

std::vector<NodeFacts> outputNodes() {
    std::vector<NodeFacts> nodes;
    forEachNode([&](udev_device& device) {
        NodeFacts facts = factsOf(device);
        const V4l2Device open(facts.node);
        if (open && (askDriver(open, facts) & V4L2_CAP_VIDEO_OUTPUT) != 0)
            nodes.push_back(std::move(facts));
    });
    std::ranges::sort(nodes, isBefore, &NodeFacts::node);
    return nodes;
}

void NodeMonitor::Unref::operator()(udev* context) const {
    udev_unref(context);
}

void NodeMonitor::Unref::operator()(udev_monitor* monitor) const {
    udev_monitor_unref(monitor);
}

std::unique_ptr<NodeMonitor> NodeMonitor::create() {
    std::unique_ptr<NodeMonitor> made(new NodeMonitor);
    made->_context.reset(udev_new());
    if (!made->_context) return nullptr;
    made->_monitor.reset(udev_monitor_new_from_netlink(made->_context.get(), "udev"));
    if (!made->_monitor) return nullptr;
    udev_monitor* const monitor = made->_monitor.get();
    if (udev_monitor_filter_add_match_subsystem_devtype(monitor, "video4linux", nullptr) < 0 ||
        udev_monitor_enable_receiving(monitor) < 0)
        return nullptr;
    return made;
}

int NodeMonitor::descriptor() const {
    return udev_monitor_get_fd(_monitor.get());
}

std::optional<NodeMonitor::Event> NodeMonitor::next() {
    const UdevPointer<udev_device> device(udev_monitor_receive_device(_monitor.get()));
    if (!device) return std::nullopt;
    const std::string action = textOf(udev_device_get_action(device.get()));
    const std::string syspath = textOf(udev_device_get_syspath(device.get()));
    if (action == "remove") return Event{Event::Kind::removed, syspath, std::nullopt};
    if (action == "add") return Event{Event::Kind::added, syspath, probe(*device)};
    return std::nullopt;
}

} // namespace lanternfly::v4l2
