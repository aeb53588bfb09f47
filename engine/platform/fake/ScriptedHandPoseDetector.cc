#include "platform/fake/ScriptedHandPoseDetector.h"

namespace lanternfly {

void HandPoseScript::add(Answer answer) {
    const std::lock_guard guard(_mutex);
    _answers.push_back(std::make_unique<const Answer>(std::move(answer)));
}

void HandPoseScript::hold() {
    const std::lock_guard guard(_mutex);
    _isHolding = true;
}

void HandPoseScript::release() {
    const std::lock_guard guard(_mutex);
    _isHolding = false;
    _changed.notify_all();
}

void HandPoseScript::waitUntilHeld() {
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [&] { return _heldCount > 0; });
}

std::vector<HandPoseScript::Picture> HandPoseScript::pictures() const {
    const std::lock_guard guard(_mutex);
    return _pictures;
}

const HandPoseScript::Answer* HandPoseScript::next(const PixelBuffer& picture, size_t index) {
    std::unique_lock lock(_mutex);
    _pictures.push_back({picture.width(), picture.height(), picture.format()});
    ++_heldCount;
    _changed.notify_all();
    _changed.wait(lock, [&] { return !_isHolding; });
    --_heldCount;
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
