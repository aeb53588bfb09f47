#include "Png.h"

#include <iostream>

#include <png.h>

namespace presenter {

bool writePng(const std::string& path, const std::vector<uint8_t>& rgb, int w, int h) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = static_cast<png_uint_32>(w);
    image.height = static_cast<png_uint_32>(h);
    image.format = PNG_FORMAT_RGB;
    if (png_image_write_to_file(&image, path.c_str(), 0, rgb.data(), 0, nullptr) != 0) return true;
    std::cerr << path << ": " << image.message << '\n';
    return false;
}

} // namespace presenter
