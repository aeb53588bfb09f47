// Writes pictures for people to look at, and reads them back.
// Threads: safe.
#pragma once

#include <cstring>
#include <string>

#include <png.h>

#include "base/PixelBuffer.h"

namespace lanternfly::test {

// False when the file cannot be written.
inline bool writePng(const PixelBuffer& pixels, const std::string& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(pixels.width());
    image.height = static_cast<png_uint_32>(pixels.height());
    image.format = PNG_FORMAT_BGRA;
    return png_image_write_to_file(&image, path.c_str(), 0, pixels.data(),
                                   static_cast<png_int_32>(pixels.strideBytes()), nullptr) != 0;
}

// Null when there is no such picture.
inline PixelBufferRef readPng(const std::string& path) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&image, path.c_str())) return nullptr;
    image.format = PNG_FORMAT_BGRA;
    auto pixels =
        PixelBuffer::create(static_cast<int>(image.width), static_cast<int>(image.height));
    if (!pixels ||
        !png_image_finish_read(&image, nullptr, pixels->data(),
                               static_cast<png_int_32>(pixels->strideBytes()), nullptr)) {
        png_image_free(&image);
        return nullptr;
    }
    return pixels;
}

} // namespace lanternfly::test
