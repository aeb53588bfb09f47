// The two hand networks, run on one picture after the other.
// Threads: bound; loading may take tens of milliseconds, a look 3 to 9.
#pragma once

#include <memory>

#include "base/PixelBuffer.h"
#include "platform/linux/vision/HandModel.h"
#include "platform/linux/vision/HandSight.h"

namespace lanternfly {

class HandNetworks final : public HandSight {
public:
    // Reads both networks and runs each once, so that a network that cannot be read, has other
    // inputs or outputs, or cannot be run is found here and not on a live picture.
    // Throws HandPoseError(modelUnreadable) with a sentence that names the file.
    explicit HandNetworks(const HandModel& model);
    ~HandNetworks() override;

    // The picture that the following calls look at: upright BGRA, borrowed until the next one.
    void setPicture(const PixelBuffer& picture);

    int widthPX() const override;
    int heightPX() const override;
    // Both throw HandPoseError(detectionFailed).
    Sighting search(double handThreshold) override;
    HandReading read(const HandCrop& crop, const JointPrior* prior) override;

private:
    struct State;
    std::unique_ptr<State> _state;
};

} // namespace lanternfly
