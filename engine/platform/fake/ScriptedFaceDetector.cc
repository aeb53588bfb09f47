#include "platform/fake/ScriptedFaceDetector.h"

#include <stdexcept>

namespace lanternfly {

void FaceScript::add(Answer answer) {
    const std::lock_guard guard(_mutex);
    _answers.push_back(std::make_unique<const Answer>(std::move(answer)));
}

const FaceScript::Answer* FaceScript::next(const PixelBuffer& picture, size_t index) {
    const auto lock = show(picture);
    return index < _answers.size() ? _answers[index].get() : nullptr;
}

void ScriptedFaceDetector::detect(const PixelBuffer& picture, std::vector<FaceRect>& faces) {
    faces.clear();
    const FaceScript::Answer* answer = _script->next(picture, _pictureIndex);
    if (picture.format() != PixelFormat::bgra8)
        throw std::runtime_error("Faces are looked for in BGRA pictures only.");
    ++_pictureIndex;
    if (!answer) return;
    if (answer->whileDetecting) answer->whileDetecting();
    if (!answer->failure.empty()) throw std::runtime_error(answer->failure);
    faces.assign(answer->faces.begin(), answer->faces.end());
}

} // namespace lanternfly
