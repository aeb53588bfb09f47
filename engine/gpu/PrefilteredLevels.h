// Smaller and smaller pictures of one picture, for panes drawn far smaller than their content.
// Threads: safe.
#pragma once

#include <vector>

#include "base/PixelBuffer.h"

namespace lanternfly {

// How many levels a picture of this size has, itself included.
int prefilteredLevelCount(int width, int height);

// The halves, quarters, … of the picture, box-filtered, each of half the size of the one before,
// rounded down; none of a picture with a side below 64. Fewer when memory is short.
std::vector<PixelBufferRef> prefilteredLevels(const PixelBuffer& picture);

} // namespace lanternfly
