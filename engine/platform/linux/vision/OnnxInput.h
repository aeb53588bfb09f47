// Which picture an ONNX network wants to see; OpenCV runs networks without telling.
// Threads: safe.
#pragma once

#include <optional>
#include <span>

#include "base/Vectors.h"

namespace lanternfly {

// Width and height of the first input of shape 1 × 3 × height × width in the bytes of an ONNX file.
// Nothing when there is none, when it leaves its size open, or when the bytes are damaged.
std::optional<int2> pictureInputOf(std::span<const char> onnx);

} // namespace lanternfly
