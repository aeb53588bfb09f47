// Camera frames made of a picture: packed and planar YUV by the formula, JPEG by libjpeg.
// Threads: value.
#pragma once

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <vector>

#include <jpeglib.h>

#include "base/PixelBuffer.h"
#include "platform/linux/camera/FrameDecoder.h"

namespace lanternfly::test {

struct Yuv {
    uint8_t y, u, v;
};

// ITU-R BT.601, 709 and 2020, 8 bits, studio or full range.
inline Yuv yuvOf(double red, double green, double blue, const FrameColour& colour) {
    const bool is709 = colour.matrix == FrameColour::Matrix::bt709;
    const bool is2020 = colour.matrix == FrameColour::Matrix::bt2020;
    const double kr = is709 ? 0.2126 : is2020 ? 0.2627 : 0.299;
    const double kb = is709 ? 0.0722 : is2020 ? 0.0593 : 0.114;
    const double y = kr * red + (1 - kr - kb) * green + kb * blue;
    const double u = (blue - y) / (2 * (1 - kb)), v = (red - y) / (2 * (1 - kr));
    const auto byte = [](double value) {
        return static_cast<uint8_t>(std::clamp(std::lround(value), 0L, 255L));
    };
    if (colour.isFullRange) return {byte(y), byte(u + 128), byte(v + 128)};
    return {byte(16 + y * 219 / 255), byte(128 + u * 224 / 255), byte(128 + v * 224 / 255)};
}

// A frame of one colour in the layout; the stride's padding is filled with rubbish.
inline std::vector<uint8_t> plainFrame(const FrameLayout& layout, uint8_t red, uint8_t green,
                                       uint8_t blue) {
    const Yuv c = yuvOf(red, green, blue, layout.colour);
    const auto width = static_cast<size_t>(layout.width),
               height = static_cast<size_t>(layout.height);
    const size_t halfWidth = (width + 1) / 2, halfHeight = (height + 1) / 2;
    std::vector<uint8_t> frame;
    const auto row = [&](const std::vector<uint8_t>& unit, size_t count, size_t stride) {
        const size_t begin = frame.size();
        for (size_t i = 0; i < count; ++i)
            frame.insert(frame.end(), unit.begin(), unit.end());
        frame.resize(begin + stride, 0x5a);
    };
    const auto plane = [&](const std::vector<uint8_t>& unit, size_t count, size_t rows,
                           size_t stride) {
        for (size_t y = 0; y < rows; ++y)
            row(unit, count, stride);
    };
    const size_t stride = layout.strideBytes;
    switch (layout.encoding) {
    case FrameEncoding::yuyv:
        plane({c.y, c.u, c.y, c.v}, halfWidth, height, stride);
        break;
    case FrameEncoding::uyvy:
        plane({c.u, c.y, c.v, c.y}, halfWidth, height, stride);
        break;
    case FrameEncoding::nv12:
        plane({c.y}, width, height, stride);
        plane({c.u, c.v}, halfWidth, halfHeight, stride);
        break;
    case FrameEncoding::i420:
    case FrameEncoding::yv12: {
        const bool isI420 = layout.encoding == FrameEncoding::i420;
        plane({c.y}, width, height, stride);
        plane({isI420 ? c.u : c.v}, halfWidth, halfHeight, stride / 2);
        plane({isI420 ? c.v : c.u}, halfWidth, halfHeight, stride / 2);
        break;
    }
    case FrameEncoding::bgrx:
        plane({blue, green, red, 0x11}, width, height, stride);
        break;
    case FrameEncoding::bgr24:
        plane({blue, green, red}, width, height, stride);
        break;
    case FrameEncoding::rgb24:
        plane({red, green, blue}, width, height, stride);
        break;
    case FrameEncoding::mjpeg:
        std::abort();
    }
    return frame;
}

struct JpegOptions {
    int quality = 90;
    bool isProgressive = false;
    bool hasHuffmanTables = true; // cameras leave out the usual ones
};

// 4:2:2, as cameras send it.
inline std::vector<uint8_t> jpegFrame(const PixelBuffer& picture, JpegOptions options = {}) {
    jpeg_compress_struct state{};
    jpeg_error_mgr errors{};
    state.err = jpeg_std_error(&errors);
    jpeg_create_compress(&state);
    unsigned char* bytes = nullptr;
    unsigned long count = 0;
    jpeg_mem_dest(&state, &bytes, &count);
    state.image_width = static_cast<JDIMENSION>(picture.width());
    state.image_height = static_cast<JDIMENSION>(picture.height());
    state.input_components = 4;
    state.in_color_space = JCS_EXT_BGRA;
    jpeg_set_defaults(&state);
    jpeg_set_quality(&state, options.quality, TRUE);
    state.comp_info[0].h_samp_factor = 2;
    state.comp_info[0].v_samp_factor = 1;
    if (options.isProgressive) jpeg_simple_progression(&state);
    jpeg_start_compress(&state, TRUE);
    while (state.next_scanline < state.image_height) {
        auto* row = const_cast<JSAMPROW>(picture.row(static_cast<int>(state.next_scanline)));
        jpeg_write_scanlines(&state, &row, 1);
    }
    jpeg_finish_compress(&state);
    jpeg_destroy_compress(&state);
    std::vector<uint8_t> frame(bytes, bytes + count);
    std::free(bytes);
    if (!options.hasHuffmanTables) {
        // Segments are FF, a marker and a length of two bytes that counts itself.
        for (size_t at = 2; at + 4 <= frame.size() && frame[at] == 0xff;) {
            const auto marker = frame[at + 1];
            const size_t length = size_t{frame[at + 2]} * 256 + frame[at + 3] + 2;
            if (marker == 0xda) break;
            const auto from = frame.begin() + static_cast<std::ptrdiff_t>(at);
            if (marker == 0xc4)
                frame.erase(from, from + static_cast<std::ptrdiff_t>(length));
            else
                at += length;
        }
    }
    return frame;
}

} // namespace lanternfly::test
