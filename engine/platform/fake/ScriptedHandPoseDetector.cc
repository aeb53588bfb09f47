#include "platform/fake/ScriptedHandPoseDetector.h"

namespace lanternfly {

void HandPoseScript::add(Answer answer) {
    const std::lock_guard guard(_mutex);
    _answers.push_back(std::make_unique<const Answer>(std::move(answer)));
}

const HandPoseScript::Answer* HandPoseScript::next(const PixelBuffer& picture, size_t index) {
    const auto lock = show(picture);
    return index < _answers.size() ? _answers[index].get() : nullptr;
}

void ScriptedHandPoseDetector::detect(const PixelBuffer& picture,
                                      std::vector<HandObservation>& hands) {
    hands.clear();
    const HandPoseScript::Answer* answer = _script->next(picture, _pictureIndex);
    if (picture.format() != PixelFormat::bgra8)
        throw HandPoseError(HandPoseError::Kind::detectionFailed,
                            "Hands are looked for in BGRA pictures only.");
    ++_pictureIndex;
    if (!answer) return;
    if (answer->whileDetecting) answer->whileDetecting();
    // Also a failing detector may have written some hands already.
    hands.assign(answer->hands.begin(), answer->hands.end());
    if (!answer->failure.empty())
        throw HandPoseError(HandPoseError::Kind::detectionFailed, answer->failure);
}

} // namespace lanternfly
