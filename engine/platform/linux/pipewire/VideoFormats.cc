#include "platform/linux/pipewire/VideoFormats.h"

#include <algorithm>

#include <spa/buffer/buffer.h>
#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>

namespace lanternfly::pipewire {
namespace {

struct Known {
    spa_video_format format;
    FrameEncoding encoding;
};

constexpr std::array known{
    Known{SPA_VIDEO_FORMAT_YUY2, FrameEncoding::yuyv},
    Known{SPA_VIDEO_FORMAT_UYVY, FrameEncoding::uyvy},
    Known{SPA_VIDEO_FORMAT_NV12, FrameEncoding::nv12},
    Known{SPA_VIDEO_FORMAT_I420, FrameEncoding::i420},
    Known{SPA_VIDEO_FORMAT_YV12, FrameEncoding::yv12},
    Known{SPA_VIDEO_FORMAT_BGRx, FrameEncoding::bgrx},
    Known{SPA_VIDEO_FORMAT_BGRA, FrameEncoding::bgrx},
    Known{SPA_VIDEO_FORMAT_BGR, FrameEncoding::bgr24},
    Known{SPA_VIDEO_FORMAT_RGB, FrameEncoding::rgb24},
};

constexpr size_t parameterBytes = 16384;

} // namespace

std::optional<FrameEncoding> encodingOf(spa_video_format format) {
    const auto found = std::ranges::find(known, format, &Known::format);
    return found == known.end() ? std::nullopt : std::optional(found->encoding);
}

spa_video_format formatOf(FrameEncoding encoding) {
    const auto found = std::ranges::find(known, encoding, &Known::encoding);
    return found == known.end() ? SPA_VIDEO_FORMAT_UNKNOWN : found->format;
}

const char* nameOf(FrameEncoding encoding) {
    switch (encoding) {
    case FrameEncoding::yuyv:
        return "YUY2";
    case FrameEncoding::uyvy:
        return "UYVY";
    case FrameEncoding::nv12:
        return "NV12";
    case FrameEncoding::i420:
        return "I420";
    case FrameEncoding::yv12:
        return "YV12";
    case FrameEncoding::bgrx:
        return "BGRx";
    case FrameEncoding::bgr24:
        return "BGR";
    case FrameEncoding::rgb24:
        return "RGB";
    case FrameEncoding::mjpeg:
        return "MJPG";
    }
    return "";
}

FrameColour colourOf(const spa_video_info_raw& format) {
    FrameColour colour;
    if (format.color_matrix == SPA_VIDEO_COLOR_MATRIX_BT709)
        colour.matrix = FrameColour::Matrix::bt709;
    else if (format.color_matrix == SPA_VIDEO_COLOR_MATRIX_BT2020)
        colour.matrix = FrameColour::Matrix::bt2020;
    colour.isFullRange = format.color_range == SPA_VIDEO_COLOR_RANGE_0_255;
    return colour;
}

Parameters::Parameters()
    : _bytes(parameterBytes), _builder{_bytes.data(), parameterBytes, 0, {}, {}} {}

void Parameters::addFormat(const VideoFormat& format) {
    spa_pod_frame frame;
    spa_pod_builder_push_object(&_builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_prop(&_builder, SPA_FORMAT_mediaType, 0);
    spa_pod_builder_id(&_builder, SPA_MEDIA_TYPE_video);
    spa_pod_builder_prop(&_builder, SPA_FORMAT_mediaSubtype, 0);
    const bool isJpeg = format.encoding == FrameEncoding::mjpeg;
    spa_pod_builder_id(&_builder, isJpeg ? SPA_MEDIA_SUBTYPE_mjpg : SPA_MEDIA_SUBTYPE_raw);
    if (!isJpeg) {
        spa_pod_builder_prop(&_builder, SPA_FORMAT_VIDEO_format, 0);
        spa_pod_builder_id(&_builder, formatOf(format.encoding));
    }
    spa_pod_builder_prop(&_builder, SPA_FORMAT_VIDEO_size, 0);
    spa_pod_builder_rectangle(&_builder, static_cast<uint32_t>(format.width),
                              static_cast<uint32_t>(format.height));
    if (format.rate.num > 0) {
        spa_pod_builder_prop(&_builder, SPA_FORMAT_VIDEO_framerate, 0);
        spa_pod_builder_fraction(&_builder, format.rate.num, format.rate.denom);
    }
    _all.push_back(static_cast<const spa_pod*>(spa_pod_builder_pop(&_builder, &frame)));
}

void Parameters::addBuffers(size_t bytes, size_t strideBytes) {
    addBufferObject(std::pair(bytes, strideBytes));
}

void Parameters::addAnyBuffers() {
    addBufferObject(std::nullopt);
}

void Parameters::addBufferObject(std::optional<std::pair<size_t, size_t>> sizes) {
    spa_pod_frame frame, choice;
    spa_pod_builder_push_object(&_builder, &frame, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers);
    spa_pod_builder_prop(&_builder, SPA_PARAM_BUFFERS_buffers, 0);
    spa_pod_builder_push_choice(&_builder, &choice, SPA_CHOICE_Range, 0);
    for (const int count : {4, 2, 8}) // preferred, least, most
        spa_pod_builder_int(&_builder, count);
    spa_pod_builder_pop(&_builder, &choice);
    spa_pod_builder_prop(&_builder, SPA_PARAM_BUFFERS_blocks, 0);
    spa_pod_builder_int(&_builder, 1);
    if (sizes) {
        spa_pod_builder_prop(&_builder, SPA_PARAM_BUFFERS_size, 0);
        spa_pod_builder_int(&_builder, static_cast<int32_t>(sizes->first));
        spa_pod_builder_prop(&_builder, SPA_PARAM_BUFFERS_stride, 0);
        spa_pod_builder_int(&_builder, static_cast<int32_t>(sizes->second));
    }
    spa_pod_builder_prop(&_builder, SPA_PARAM_BUFFERS_dataType, 0);
    spa_pod_builder_push_choice(&_builder, &choice, SPA_CHOICE_Flags, 0);
    spa_pod_builder_int(&_builder, (1 << SPA_DATA_MemFd) | (1 << SPA_DATA_MemPtr));
    spa_pod_builder_pop(&_builder, &choice);
    _all.push_back(static_cast<const spa_pod*>(spa_pod_builder_pop(&_builder, &frame)));
}

void Parameters::addHeaders() {
    spa_pod_frame frame;
    spa_pod_builder_push_object(&_builder, &frame, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta);
    spa_pod_builder_prop(&_builder, SPA_PARAM_META_type, 0);
    spa_pod_builder_id(&_builder, SPA_META_Header);
    spa_pod_builder_prop(&_builder, SPA_PARAM_META_size, 0);
    spa_pod_builder_int(&_builder, sizeof(spa_meta_header));
    _all.push_back(static_cast<const spa_pod*>(spa_pod_builder_pop(&_builder, &frame)));
}

} // namespace lanternfly::pipewire
