// The network that finds hands and faces in a whole picture, both in one look.
// Threads: bound; a look takes about 8 ms.
#pragma once

#include "base/PixelBuffer.h"
#include "platform/linux/vision/GridDecoder.h"
#include "platform/linux/vision/Network.h"

namespace lanternfly {

class DetectorNetwork {
public:
    // Throws HandPoseError(modelUnreadable).
    explicit DetectorNetwork(const NetworkDescription& description);

    // Looks at an upright BGRA picture of any size. Throws HandPoseError(detectionFailed).
    void look(const PixelBuffer& picture);
    // What the last look saw with a score above the threshold (0…1), in pixels of its picture.
    HandCandidates hands(double threshold) const;
    FaceCandidates faces(double threshold) const;

private:
    DetectorGrid grid() const;

    Network _network;
    int _columns = 0, _rows = 0, _stridePX = 0;
    Letterbox _letterbox;
};

} // namespace lanternfly
