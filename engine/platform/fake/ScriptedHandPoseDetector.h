// A hand detector that answers what has been written down for it.
// Threads: the script is safe; a detector is bound to one queue.
#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "platform/HandPoseDetector.h"

namespace lanternfly {

// What detectors answer, picture by picture, and what they have been shown. Every detector made
// for a script starts at its first answer; after the last there are no hands.
class HandPoseScript {
public:
    struct Answer {
        std::vector<HandObservation> hands{};
        std::string failure{};                  // when not empty, detect() throws it
        std::function<void()> whileDetecting{}; // runs on the detecting thread; may be empty
    };
    struct Picture {
        int width, height;
        PixelFormat format;
        friend bool operator==(const Picture&, const Picture&) = default;
    };

    void add(Answer answer);
    // Detections that start from now on wait until release().
    void hold();
    void release();
    // Returns once a detection waits.
    void waitUntilHeld();
    // The pictures shown to all detectors of this script.
    std::vector<Picture> pictures() const;

private:
    friend class ScriptedHandPoseDetector;
    // Notes the picture, waits while held, and returns the answer; null after the last. Answers
    // are never moved or removed, so the pointer stays good.
    const Answer* next(const PixelBuffer& picture, size_t index);

    mutable std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<std::unique_ptr<const Answer>> _answers;
    std::vector<Picture> _pictures;
    bool _isHolding = false;
    int _heldCount = 0;
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
