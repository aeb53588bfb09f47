// Black over the whole frame.
// Threads: bound.
#pragma once

#include "base/PixelBuffer.h"
#include "render/cpu/Rows.h"

namespace lanternfly {

void darken(float alpha, Rows rows, PixelBuffer& output);

} // namespace lanternfly
