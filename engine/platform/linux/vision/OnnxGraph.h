// Whether a network hangs together; OpenCV reads what a damaged one only promises.
// Threads: safe.
#pragma once

#include <span>

namespace lanternfly {

// Every node takes what stands before it in the file, and every constant holds as many numbers as
// its shape says. True also of bytes that are no network: OpenCV refuses those.
bool isCoherentNetwork(std::span<const char> onnx);

} // namespace lanternfly
