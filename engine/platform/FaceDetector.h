// Port: finds faces in a picture.
// Threads: bound to one queue.
#pragma once

#include <vector>

#include "base/PixelBuffer.h"

namespace lanternfly {

// A rectangle in 0…1 of the picture, origin at the lower left.
struct FaceRect {
    double x = 0, y = 0, width = 0, height = 0;

    double area() const { return width * height; }
    friend bool operator==(const FaceRect&, const FaceRect&) = default;
};

class FaceDetector {
public:
    virtual ~FaceDetector() = default;
    // Looks for faces in an upright 8-bit BGRA picture of any size and replaces the contents of
    // `faces`: rectangles inside the picture, in no particular order. Each picture is looked at for
    // itself. Throws std::runtime_error with a sentence that says why; `faces` is then empty.
    virtual void detect(const PixelBuffer& picture, std::vector<FaceRect>& faces) = 0;

    static constexpr int maximumFaceCount = 8;
};

} // namespace lanternfly
