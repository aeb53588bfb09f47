// What the compression of video leaves of a picture.
#pragma once

#include <cstdint>
#include <vector>

namespace presenter {

// Quantises the 8×8 block cosine transform of the RGB picture: step 1 is fine, 20 coarse. What is
// over at the right and the bottom stays as it is.
void compress(std::vector<uint8_t>& rgb, int w, int h, float step);

} // namespace presenter
