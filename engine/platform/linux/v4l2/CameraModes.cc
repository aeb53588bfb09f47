#include "platform/linux/v4l2/CameraModes.h"

#include <algorithm>
#include <array>

#include "platform/linux/v4l2/PixelFormats.h"

namespace lanternfly::v4l2 {
namespace {

// A broken driver may never end a list.
constexpr uint32_t maxListed = 64;

bool isPossible(Size size) {
    return size.width >= 1 && size.width <= PixelBuffer::maxSidePX && size.height >= 1 &&
           size.height <= PixelBuffer::maxSidePX;
}

int sideOf(uint32_t side) {
    return static_cast<int>(std::min<uint32_t>(side, PixelBuffer::maxSidePX + 1));
}

bool isInSteps(int value, int least, int most, int step) {
    return value >= least && value <= most && (value - least) % std::max(step, 1) == 0;
}

std::vector<CameraRateRange> ratesOf(const V4l2Device& device, uint32_t fourcc, Size size) {
    std::vector<CameraRateRange> rates;
    v4l2_frmivalenum asked{};
    asked.pixel_format = fourcc;
    asked.width = static_cast<uint32_t>(size.width);
    asked.height = static_cast<uint32_t>(size.height);
    for (; asked.index < maxListed; ++asked.index) {
        if (device.request(VIDIOC_ENUM_FRAMEINTERVALS, &asked) != 0) break;
        if (asked.type != V4L2_FRMIVAL_TYPE_DISCRETE) {
            rates.push_back({rateOf(asked.stepwise.max), rateOf(asked.stepwise.min)});
            break;
        }
        if (const double rate = rateOf(asked.discrete); rate > 0) rates.push_back({rate, rate});
    }
    return rates;
}

std::vector<Size> sizesOf(const V4l2Device& device, uint32_t fourcc) {
    std::vector<Size> sizes;
    v4l2_frmsizeenum asked{};
    asked.pixel_format = fourcc;
    for (; asked.index < maxListed; ++asked.index) {
        if (device.request(VIDIOC_ENUM_FRAMESIZES, &asked) != 0) break;
        if (asked.type != V4L2_FRMSIZE_TYPE_DISCRETE) {
            const auto& range = asked.stepwise;
            return sizesIn({sideOf(range.min_width), sideOf(range.max_width),
                            sideOf(range.step_width), sideOf(range.min_height),
                            sideOf(range.max_height), sideOf(range.step_height)});
        }
        sizes.push_back({sideOf(asked.discrete.width), sideOf(asked.discrete.height)});
    }
    if (!sizes.empty()) return sizes;
    v4l2_format current{};
    current.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    if (device.request(VIDIOC_G_FMT, &current) == 0 && current.fmt.pix.pixelformat == fourcc)
        sizes.push_back({sideOf(current.fmt.pix.width), sideOf(current.fmt.pix.height)});
    return sizes;
}

} // namespace

std::vector<Size> sizesIn(const SizeRange& range) {
    constexpr std::array usual{Size{1920, 1080}, Size{1280, 720}, Size{960, 540},
                               Size{640, 480},   Size{640, 360},  Size{320, 240}};
    std::vector<Size> sizes;
    for (const Size size : usual)
        if (isInSteps(size.width, range.minWidth, range.maxWidth, range.stepWidth) &&
            isInSteps(size.height, range.minHeight, range.maxHeight, range.stepHeight))
            sizes.push_back(size);
    const Size largest{range.maxWidth, range.maxHeight};
    if (isPossible(largest) && std::ranges::find(sizes, largest) == sizes.end())
        sizes.push_back(largest);
    return sizes;
}

std::vector<CameraMode> sortedModes(std::vector<CameraMode> modes) {
    std::erase_if(modes, [](const CameraMode& mode) {
        return !encodingOf(mode.fourcc) || !isPossible({mode.width, mode.height});
    });
    std::ranges::stable_sort(modes, {}, [](const CameraMode& mode) { return rankOf(mode.fourcc); });
    return modes;
}

CameraFormat formatOf(const CameraMode& mode) {
    return {mode.width, mode.height, mode.rates, false, fourccText(mode.fourcc)};
}

std::vector<CameraMode> modesOf(const V4l2Device& device) {
    std::vector<CameraMode> modes;
    v4l2_fmtdesc asked{};
    asked.type = V4L2_BUF_TYPE_VIDEO_CAPTURE;
    for (; asked.index < maxListed; ++asked.index) {
        if (device.request(VIDIOC_ENUM_FMT, &asked) != 0) break;
        if (!encodingOf(asked.pixelformat)) continue;
        for (const Size size : sizesOf(device, asked.pixelformat))
            modes.push_back({asked.pixelformat, size.width, size.height,
                             ratesOf(device, asked.pixelformat, size)});
    }
    return sortedModes(std::move(modes));
}

} // namespace lanternfly::v4l2
