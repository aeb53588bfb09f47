// A hand detector that answers what has been written down for it.
// Threads: the script is safe; a detector is bound to one queue.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/HandPoseDetector.h"
#include "platform/fake/PictureLog.h"

namespace lanternfly {

// What detectors answer, picture by picture, and what they have been shown. Every detector made
// for a script starts at its first answer; after the last there are no hands.
class HandPoseScript : public PictureLog {
public:
    struct Answer {
        std::vector<HandObservation> hands{};
        std::string failure{};                  // when not empty, detect() throws it
        std::function<void()> whileDetecting{}; // runs on the detecting thread; may be empty
    };
    void add(Answer answer);

private:
    friend class ScriptedHandPoseDetector;
    // Notes the picture, waits while held, and returns the answer; null after the last. Answers
    // are never moved or removed, so the pointer stays good.
    const Answer* next(const PixelBuffer& picture, size_t index);

    std::vector<std::unique_ptr<const Answer>> _answers;
};

class ScriptedHandPoseDetector final : public HandPoseDetector {
public:
    explicit ScriptedHandPoseDetector(std::shared_ptr<HandPoseScript> script)
        : _script(std::move(script)) {}

    // Throws HandPoseError(detectionFailed) where the script says so, and for a picture that is
    // not BGRA.
    void detect(const PixelBuffer& picture, std::vector<HandObservation>& hands) override;

private:
    std::shared_ptr<HandPoseScript> _script;
    size_t _pictureIndex = 0;
};

} // namespace lanternfly
