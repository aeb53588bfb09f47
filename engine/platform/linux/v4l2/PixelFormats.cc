#include "platform/linux/v4l2/PixelFormats.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace lanternfly::v4l2 {
namespace {

struct Known {
    uint32_t fourcc;
    FrameEncoding encoding;
};

// In the order of preference.
constexpr std::array known{
    Known{V4L2_PIX_FMT_YUYV, FrameEncoding::yuyv},
    Known{V4L2_PIX_FMT_UYVY, FrameEncoding::uyvy},
    Known{V4L2_PIX_FMT_NV12, FrameEncoding::nv12},
    Known{V4L2_PIX_FMT_YUV420, FrameEncoding::i420},
    Known{V4L2_PIX_FMT_YVU420, FrameEncoding::yv12},
    Known{V4L2_PIX_FMT_XBGR32, FrameEncoding::bgrx},
    Known{V4L2_PIX_FMT_ABGR32, FrameEncoding::bgrx},
    Known{V4L2_PIX_FMT_BGR32, FrameEncoding::bgrx},
    Known{V4L2_PIX_FMT_BGR24, FrameEncoding::bgr24},
    Known{V4L2_PIX_FMT_RGB24, FrameEncoding::rgb24},
    Known{V4L2_PIX_FMT_MJPEG, FrameEncoding::mjpeg},
    Known{V4L2_PIX_FMT_JPEG, FrameEncoding::mjpeg},
};

} // namespace

std::string fourccText(uint32_t fourcc) {
    std::string text;
    for (int shift = 0; shift < 32; shift += 8) {
        const auto byte = static_cast<unsigned char>(fourcc >> shift);
        text.push_back(byte > ' ' && byte < 127 ? static_cast<char>(byte) : '?');
    }
    // Formats of three letters end in a blank.
    if (fourcc >> 24 == ' ') text.pop_back();
    return text;
}

std::optional<FrameEncoding> encodingOf(uint32_t fourcc) {
    const auto found = std::ranges::find(known, fourcc, &Known::fourcc);
    return found == known.end() ? std::nullopt : std::optional(found->encoding);
}

int rankOf(uint32_t fourcc) {
    return static_cast<int>(std::ranges::find(known, fourcc, &Known::fourcc) - known.begin());
}

FrameColour colourOf(const v4l2_pix_format& format) {
    uint32_t encoding = format.ycbcr_enc;
    if (encoding == V4L2_YCBCR_ENC_DEFAULT)
        encoding = V4L2_MAP_YCBCR_ENC_DEFAULT(format.colorspace);
    uint32_t range = format.quantization;
    if (range == V4L2_QUANTIZATION_DEFAULT)
        range = V4L2_MAP_QUANTIZATION_DEFAULT(false, format.colorspace, encoding);

    FrameColour colour;
    if (encoding == V4L2_YCBCR_ENC_709 || encoding == V4L2_YCBCR_ENC_XV709)
        colour.matrix = FrameColour::Matrix::bt709;
    else if (encoding == V4L2_YCBCR_ENC_BT2020)
        colour.matrix = FrameColour::Matrix::bt2020;
    colour.isFullRange = range == V4L2_QUANTIZATION_FULL_RANGE;
    return colour;
}

double rateOf(const v4l2_fract& interval) {
    if (interval.numerator == 0 || interval.denominator == 0) return 0;
    const double rate = static_cast<double>(interval.denominator) / interval.numerator;
    const double whole = std::round(rate);
    return std::abs(rate - whole) < 0.01 ? whole : rate;
}

std::optional<v4l2_fract> intervalOf(MediaTime frameDuration) {
    if (!frameDuration.isValid() || frameDuration.value <= 0 || frameDuration.value > INT32_MAX)
        return std::nullopt;
    return v4l2_fract{static_cast<uint32_t>(frameDuration.value),
                      static_cast<uint32_t>(frameDuration.timescale)};
}

} // namespace lanternfly::v4l2
