// What is behind the presenter.
#pragma once

#include <vector>

#include "Maths.h"

namespace presenter {

// A linear-light picture of a room; seed 1 is the reference room.
std::vector<V3> makeRoom(int W, int H, uint64_t seed, float clutter, float blur);

} // namespace presenter
