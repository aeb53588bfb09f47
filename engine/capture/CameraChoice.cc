#include "capture/CameraChoice.h"

#include <algorithm>
#include <cmath>
#include <iterator>

#include "capture/CameraFeed.h"
#include "diagnostics/FrameChannel.h"

namespace lanternfly {
namespace {

constexpr int preferredRate = 30; // frames per second

bool isOwnCamera(const CameraDevice& device) {
    return device.manufacturer() == FrameChannel::deviceManufacturer &&
           device.modelID() == FrameChannel::deviceModel;
}

size_t rankOf(CameraDeviceType type) {
    return static_cast<size_t>(std::distance(cameraTypesByPriority.begin(),
                                             std::ranges::find(cameraTypesByPriority, type)));
}

bool hasPreferredRate(const CameraFormat& format) {
    return std::ranges::any_of(format.rateRanges, [](const CameraRateRange& range) {
        return range.minimum <= preferredRate && preferredRate <= range.maximum;
    });
}

bool fitsPreferredSize(const CameraFormat& format) {
    return format.width <= CameraFeed::preferredWidth &&
           format.height <= CameraFeed::preferredHeight;
}

} // namespace

std::vector<CameraDeviceRef> withoutOwnCamera(std::vector<CameraDeviceRef> devices,
                                              const Logger& log) {
    std::erase_if(devices, [&](const CameraDeviceRef& device) {
        if (!isOwnCamera(*device)) return false;
        log.info("skipping Lanternfly virtual camera as input (would self-loop)");
        return true;
    });
    return devices;
}

void sortForDisplay(std::vector<CameraDeviceRef>& devices) {
    std::ranges::stable_sort(devices, [](const CameraDeviceRef& a, const CameraDeviceRef& b) {
        const size_t rankA = rankOf(a->type()), rankB = rankOf(b->type());
        return rankA != rankB ? rankA < rankB : a->localizedName() < b->localizedName();
    });
}

CameraDeviceRef pickCamera(const std::vector<CameraDeviceRef>& devices,
                           const std::optional<std::string>& preferredUID, const Logger& log) {
    if (preferredUID && !preferredUID->empty()) {
        const auto pinned = std::ranges::find_if(devices, [&](const CameraDeviceRef& device) {
            return device->uniqueID() == *preferredUID;
        });
        if (pinned != devices.end()) {
            log.info("picked pinned input {}", (*pinned)->localizedName());
            return *pinned;
        }
        log.warning("pinned camera UID {} not currently available; falling back to auto-pick",
                    *preferredUID);
    }
    for (const CameraDeviceType type : cameraTypesByPriority)
        for (const CameraDeviceRef& device : devices) {
            if (device->type() != type) continue;
            if (device->transportType() == CameraTransportType::virtualDevice) {
                log.info("skipping virtual external camera {} (transportType=virt)",
                         device->localizedName());
                continue;
            }
            log.info("picked input {} ({})", device->localizedName(), nameOf(type));
            return device;
        }
    return devices.empty() ? nullptr : devices.front();
}

std::optional<size_t> chooseFormat(const std::vector<CameraFormat>& formats) {
    const auto isCandidate = [](const CameraFormat& format) { return !format.supportsReactions; };
    const bool someFit = std::ranges::any_of(formats, [&](const CameraFormat& format) {
        return isCandidate(format) && fitsPreferredSize(format);
    });
    std::optional<size_t> best;
    int64_t bestScore = 0;
    for (size_t i = 0; i < formats.size(); ++i) {
        const CameraFormat& format = formats[i];
        if (!isCandidate(format) || (someFit && !fitsPreferredSize(format))) continue;
        const int64_t score =
            int64_t{format.width} * format.height + (hasPreferredRate(format) ? 1 : 0);
        if (best && score <= bestScore) continue;
        best = i;
        bestScore = score;
    }
    return best;
}

std::optional<MediaTime> chooseFrameDuration(const CameraFormat& format) {
    if (format.rateRanges.empty()) return std::nullopt;
    if (hasPreferredRate(format)) return MediaTime::make(1, preferredRate);
    const double fastest =
        std::ranges::max_element(format.rateRanges, {}, &CameraRateRange::maximum)->maximum;
    // A driver may claim any rate at all.
    constexpr double slowest = 1, quickest = 100'000;
    if (!(fastest >= slowest)) return MediaTime::make(1, 1);
    return MediaTime::make(1, static_cast<int32_t>(std::lround(std::min(fastest, quickest))));
}

bool acceptsFrameDurations(const CameraDevice& device) {
    return device.className().find("DALDevice") == std::string::npos;
}

} // namespace lanternfly
