#include "platform/linux/pipewire/CameraNode.h"

#include <algorithm>
#include <cmath>

#include <spa/param/format-utils.h>
#include <spa/pod/iter.h>

#include "platform/linux/v4l2/CameraModes.h"

namespace lanternfly::pipewire {
namespace {

// A broken node may offer thousands.
constexpr size_t maxListed = 64;

std::string valueOf(const Properties& properties, const char* key) {
    const auto found = properties.find(key);
    return found == properties.end() ? std::string() : found->second;
}

std::string firstOf(const Properties& properties, std::initializer_list<const char*> keys) {
    for (const char* key : keys)
        if (std::string value = valueOf(properties, key); !value.empty()) return value;
    return {};
}

template <typename Value>
struct Choice {
    std::vector<Value> values;
    bool isRange = false; // the values are its ends
};

// Nothing when the property is not there, or of another type.
template <typename Value>
Choice<Value> choiceOf(const spa_pod& object, uint32_t key, uint32_t type) {
    Choice<Value> choice;
    const spa_pod_prop* const property = spa_pod_find_prop(&object, nullptr, key);
    if (!property) return choice;
    uint32_t count = 0, kind = SPA_CHOICE_None;
    const spa_pod* const child = spa_pod_get_values(&property->value, &count, &kind);
    if (child->type != type || child->size != sizeof(Value) || count == 0) return choice;
    const auto* const values = static_cast<const Value*>(SPA_POD_BODY_CONST(child));
    // The first of a choice is the preferred one; enumerations list it again.
    choice.isRange = kind == SPA_CHOICE_Range || kind == SPA_CHOICE_Step;
    const uint32_t first = kind == SPA_CHOICE_None || count == 1 ? 0 : 1;
    const uint32_t end = choice.isRange ? std::min(count, first + 2) : count;
    choice.values.assign(values + first, values + std::min<uint32_t>(end, first + maxListed));
    return choice;
}

std::vector<FrameEncoding> encodingsOf(const spa_pod& parameter) {
    uint32_t type = 0, subtype = 0;
    if (spa_format_parse(&parameter, &type, &subtype) < 0 || type != SPA_MEDIA_TYPE_video)
        return {};
    if (subtype == SPA_MEDIA_SUBTYPE_mjpg) return {FrameEncoding::mjpeg};
    std::vector<FrameEncoding> encodings;
    if (subtype == SPA_MEDIA_SUBTYPE_raw)
        for (const uint32_t format :
             choiceOf<uint32_t>(parameter, SPA_FORMAT_VIDEO_format, SPA_TYPE_Id).values)
            if (const auto encoding = encodingOf(static_cast<spa_video_format>(format)))
                encodings.push_back(*encoding);
    return encodings;
}

int sideOf(uint32_t side) {
    return static_cast<int>(std::min<uint32_t>(side, PixelBuffer::maxSidePX + 1));
}

std::vector<v4l2::Size> sizesOf(const spa_pod& parameter) {
    const auto choice =
        choiceOf<spa_rectangle>(parameter, SPA_FORMAT_VIDEO_size, SPA_TYPE_Rectangle);
    std::vector<v4l2::Size> sizes;
    if (choice.isRange && choice.values.size() == 2)
        return v4l2::sizesIn({.minWidth = sideOf(choice.values[0].width),
                              .maxWidth = sideOf(choice.values[1].width),
                              .minHeight = sideOf(choice.values[0].height),
                              .maxHeight = sideOf(choice.values[1].height)});
    for (const spa_rectangle& size : choice.values)
        sizes.push_back({sideOf(size.width), sideOf(size.height)});
    return sizes;
}

double rateOf(const spa_fraction& rate) {
    return rate.denom > 0 ? static_cast<double>(rate.num) / rate.denom : 0;
}

// The rate nearest to thirty, which everything here is made for.
spa_fraction bestRate(const spa_pod& parameter) {
    constexpr spa_fraction usual{30, 1};
    const auto choice =
        choiceOf<spa_fraction>(parameter, SPA_FORMAT_VIDEO_framerate, SPA_TYPE_Fraction);
    if (choice.values.empty()) return {0, 1};
    if (choice.isRange && choice.values.size() == 2) {
        if (rateOf(choice.values[0]) > 30) return choice.values[0];
        return rateOf(choice.values[1]) < 30 ? choice.values[1] : usual;
    }
    return *std::ranges::min_element(
        choice.values, {}, [](const spa_fraction& rate) { return std::abs(rateOf(rate) - 30); });
}

int rankOf(FrameEncoding encoding) {
    return static_cast<int>(encoding); // in the order of preference
}

} // namespace

bool isCamera(const Properties& properties) {
    return valueOf(properties, "media.class") == "Video/Source" &&
           valueOf(properties, "media.role") == "Camera";
}

std::string videoNodeOf(const Properties& properties) {
    return valueOf(properties, "api.v4l2.path");
}

std::string idOf(const Properties& properties, const std::set<std::string>& taken) {
    const std::string id = "pipewire:" + firstOf(properties, {"node.name", "object.path"});
    if (!taken.contains(id)) return id;
    for (int i = 2;; ++i)
        if (std::string numbered = id + "#" + std::to_string(i); !taken.contains(numbered))
            return numbered;
}

std::vector<VideoFormat> formatsOf(const spa_pod& parameter) {
    std::vector<VideoFormat> formats;
    const spa_fraction rate = bestRate(parameter);
    for (const FrameEncoding encoding : encodingsOf(parameter))
        for (const v4l2::Size size : sizesOf(parameter))
            if (PixelBuffer::sizeBytes(size.width, size.height, PixelFormat::bgra8) > 0)
                formats.push_back({encoding, size.width, size.height, rate});
    return formats;
}

std::vector<VideoFormat> sortedFormats(std::vector<VideoFormat> formats) {
    std::vector<VideoFormat> sorted;
    for (const VideoFormat& format : formats)
        if (sorted.size() < maxListed && std::ranges::find(sorted, format) == sorted.end())
            sorted.push_back(format);
    std::ranges::stable_sort(sorted, {},
                             [](const VideoFormat& format) { return rankOf(format.encoding); });
    return sorted;
}

CameraDescription descriptionOf(const CameraNode& node) {
    const Properties& all = node.properties;
    CameraDescription description;
    description.uniqueID = node.uniqueID;
    description.localizedName = firstOf(all, {"node.description", "node.nick", "node.name"});
    if (description.localizedName.empty()) description.localizedName = "Camera";
    description.manufacturer = valueOf(all, "device.vendor.name");
    description.modelID = firstOf(all, {"device.product.name", "node.description", "node.name"});
    description.className = "PipeWireCamera";
    // Nodes that no driver stands behind are made by programs.
    const bool isHardware = !valueOf(all, "device.api").empty();
    const std::string place = valueOf(all, "api.libcamera.location");
    const bool isBuiltIn = isHardware && (place == "front" || place == "back");
    description.type =
        isBuiltIn ? CameraDeviceType::builtInWideAngleCamera : CameraDeviceType::external;
    if (!isHardware)
        description.transportType = CameraTransportType::virtualDevice;
    else if (isBuiltIn)
        description.transportType = CameraTransportType::builtIn;
    else if (valueOf(all, "device.bus") == "usb")
        description.transportType = CameraTransportType::usb;
    for (const VideoFormat& format : node.formats) {
        std::vector<CameraRateRange> rates;
        if (const double rate = rateOf(format.rate); rate > 0) rates.push_back({rate, rate});
        description.formats.push_back({.width = format.width,
                                       .height = format.height,
                                       .rateRanges = std::move(rates),
                                       .supportsReactions = false,
                                       .encoding = nameOf(format.encoding)});
    }
    return description;
}

} // namespace lanternfly::pipewire
