// HandPoseDetector on two small networks of our own: a detector for the whole picture and a
// landmark network that follows each hand from picture to picture.
// Threads: bound to one queue.
#pragma once

#include <filesystem>
#include <memory>
#include <optional>

#include "platform/HandPoseDetector.h"
#include "platform/linux/vision/HandModelFolder.h"
#include "platform/linux/vision/HandNetworks.h"
#include "platform/linux/vision/HandTracker.h"

namespace lanternfly {

// A hand is reported from the second picture on that shows it. Every joint of a reported hand that
// lies in the picture has an entry; its confidence is the probability that the network puts near
// the position, so that a hidden or blurred joint says so. Joints a little outside the picture
// (an arm's wrist below its lower edge) are reported on its edge, those further out not at all.
class OpenCvHandPoseDetector final : public HandPoseDetector {
public:
    // Pictures are looked at with this long side; the networks were trained at it.
    static constexpr int workingLongSidePX = 480;

    explicit OpenCvHandPoseDetector(std::filesystem::path modelFolder = defaultHandModelFolder());

    // The networks are loaded by the first call; once loading has failed, every call throws the
    // same error. Throws HandPoseError(detectionFailed) for a picture that is not BGRA.
    void detect(const PixelBuffer& picture, std::vector<HandObservation>& hands) override;

    // Forgets all hands: the next picture has nothing to do with the last one.
    void startAnew() { _tracker.reset(); }

private:
    void load();
    const PixelBuffer& scaledToWorkingSize(const PixelBuffer& picture);

    std::filesystem::path _modelFolder;
    std::optional<HandPoseError> _loadError;
    std::unique_ptr<HandNetworks> _networks;
    std::shared_ptr<PixelBuffer> _scaled;
    int _sourceWidthPX = 0;
    int _sourceHeightPX = 0;
    HandTracker _tracker;
};

} // namespace lanternfly
