#include "platform/linux/video/PictureConverter.h"

#include <libyuv.h>

namespace lanternfly {
namespace {

// libyuv would do for some of these formats, but its BT.709 blue is off by up to 12 levels.
bool isFullRange(const AVFrame& frame) {
    switch (frame.format) {
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUVJ422P:
    case AV_PIX_FMT_YUVJ444P:
        return true;
    default:
        return frame.color_range == AVCOL_RANGE_JPEG;
    }
}

// The old names that carry the range in the format are the plain formats otherwise.
AVPixelFormat rangelessFormat(const AVFrame& frame) {
    switch (frame.format) {
    case AV_PIX_FMT_YUVJ420P:
        return AV_PIX_FMT_YUV420P;
    case AV_PIX_FMT_YUVJ422P:
        return AV_PIX_FMT_YUV422P;
    case AV_PIX_FMT_YUVJ444P:
        return AV_PIX_FMT_YUV444P;
    default:
        return static_cast<AVPixelFormat>(frame.format);
    }
}

int matrixOf(const AVFrame& frame) {
    switch (frame.colorspace) {
    case AVCOL_SPC_BT709:
        return SWS_CS_ITU709;
    case AVCOL_SPC_BT2020_NCL:
    case AVCOL_SPC_BT2020_CL:
        return SWS_CS_BT2020;
    case AVCOL_SPC_SMPTE240M:
        return SWS_CS_SMPTE240M;
    case AVCOL_SPC_BT470BG:
    case AVCOL_SPC_SMPTE170M:
        return SWS_CS_ITU601;
    case AVCOL_SPC_FCC:
        return SWS_CS_FCC;
    default:
        return frame.height >= 720 ? SWS_CS_ITU709 : SWS_CS_ITU601;
    }
}

// Camera formats have a quick conversion that is within 3 levels of the exact one (0.2 ms a 720p
// picture); the others take the exact path (3 ms).
int scalerFlags(const AVFrame& frame) {
    switch (frame.format) {
    case AV_PIX_FMT_YUV420P:
    case AV_PIX_FMT_YUVJ420P:
    case AV_PIX_FMT_YUV422P:
    case AV_PIX_FMT_YUVJ422P:
        return SWS_BILINEAR | SWS_BITEXACT;
    default:
        return SWS_BILINEAR | SWS_BITEXACT | SWS_ACCURATE_RND | SWS_FULL_CHR_H_INT;
    }
}

} // namespace

PixelBufferRef PictureConverter::take(std::unique_ptr<PixelBufferPool>& pool, int width,
                                      int height) {
    if (!pool || pool->width() != width || pool->height() != height)
        pool = PixelBufferPool::create(width, height, PixelFormat::bgra8, _maxBuffers);
    if (!pool)
        throw VideoError(VideoError::Kind::tooLarge,
                         "the video has pictures of a size that cannot be shown");
    auto taken = pool->take();
    if (taken.status == PixelBufferPool::Status::exhausted)
        throw VideoError(VideoError::Kind::allHeld, "no picture of the video is given back");
    if (!taken.buffer)
        throw VideoError(VideoError::Kind::failed, "out of memory for the video's pictures");
    return std::move(taken.buffer);
}

PixelBufferRef PictureConverter::convert(const AVFrame& frame) {
    if (_turn == Turn::none) {
        auto upright = take(_upright, frame.width, frame.height);
        fill(frame, *upright);
        return upright;
    }
    const auto stored = take(_stored, frame.width, frame.height);
    fill(frame, *stored);
    const bool swapsSides = _turn != Turn::by180;
    auto upright = take(_upright, swapsSides ? frame.height : frame.width,
                        swapsSides ? frame.width : frame.height);
    libyuv::ARGBRotate(stored->data(), static_cast<int>(stored->strideBytes()), upright->data(),
                       static_cast<int>(upright->strideBytes()), stored->width(), stored->height(),
                       static_cast<libyuv::RotationMode>(_turn));
    return upright;
}

void PictureConverter::fill(const AVFrame& frame, PixelBuffer& target) {
    const Layout layout{frame.width, frame.height, frame.format, matrixOf(frame),
                        isFullRange(frame)};
    if (!_scaler || layout != _layout) {
        // BGR0 writes opaque pixels whatever alpha the picture has.
        _scaler.reset(sws_getContext(frame.width, frame.height, rangelessFormat(frame), frame.width,
                                     frame.height, AV_PIX_FMT_BGR0, scalerFlags(frame), nullptr,
                                     nullptr, nullptr));
        if (!_scaler)
            throw VideoError(VideoError::Kind::failed, "the video's pixel format is not "
                                                       "supported; convert it to H.264 first");
        constexpr int unity = 1 << 16;
        sws_setColorspaceDetails(_scaler.get(), sws_getCoefficients(layout.matrix),
                                 layout.isFullRange ? 1 : 0, sws_getCoefficients(SWS_CS_DEFAULT), 1,
                                 0, unity, unity);
        _layout = layout;
    }
    uint8_t* planes[] = {target.data()};
    const int strides[] = {static_cast<int>(target.strideBytes())};
    sws_scale(_scaler.get(), frame.data, frame.linesize, 0, frame.height, planes, strides);
}

} // namespace lanternfly
