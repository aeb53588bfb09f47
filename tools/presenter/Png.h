// Writes pictures.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace presenter {

// rgb is w * h * 3 bytes, rows from the top. Says what failed and returns false.
bool writePng(const std::string& path, const std::vector<uint8_t>& rgb, int w, int h);

} // namespace presenter
