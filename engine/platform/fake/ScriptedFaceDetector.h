// A face detector that answers what has been written down for it.
// Threads: the script is safe; a detector is bound to one queue.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "platform/FaceDetector.h"
#include "platform/fake/PictureLog.h"

namespace lanternfly {

// What detectors answer, picture by picture, and what they have been shown. Every detector made
// for a script starts at its first answer; after the last there are no faces.
class FaceScript : public PictureLog {
public:
    struct Answer {
        std::vector<FaceRect> faces{};
        std::string failure{};                  // when not empty, detect() throws it
        std::function<void()> whileDetecting{}; // runs on the detecting thread; may be empty
    };

    void add(Answer answer);

private:
    friend class ScriptedFaceDetector;
    // Notes the picture, waits while held, and returns the answer; null after the last. Answers
    // are never moved or removed, so the pointer stays good.
    const Answer* next(const PixelBuffer& picture, size_t index);

    std::vector<std::unique_ptr<const Answer>> _answers;
};

class ScriptedFaceDetector final : public FaceDetector {
public:
    explicit ScriptedFaceDetector(std::shared_ptr<FaceScript> script)
        : _script(std::move(script)) {}

    // Throws where the script says so, and for a picture that is not BGRA.
    void detect(const PixelBuffer& picture, std::vector<FaceRect>& faces) override;

private:
    std::shared_ptr<FaceScript> _script;
    size_t _pictureIndex = 0;
};

} // namespace lanternfly
