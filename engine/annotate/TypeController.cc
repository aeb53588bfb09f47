#include "annotate/TypeController.h"

#include <utility>

#include "annotate/TypedText.h"

namespace lanternfly {

void TypeController::setOnTextUpdate(TextUpdate callback) {
    auto subscriber = callback ? std::make_shared<const TextUpdate>(std::move(callback)) : nullptr;
    _state.withLock([&](State& state) { state.onTextUpdate.swap(subscriber); });
}

bool TypeController::isModeActive() const {
    return _state.withLock([](const State& state) { return state.isModeActive; });
}

std::string TypeController::text() const {
    return _state.withLock([](const State& state) { return state.text; });
}

bool TypeController::hasText() const {
    return _state.withLock([](const State& state) { return !state.text.empty(); });
}

void TypeController::enterTypeMode() {
    _state.withLock([](State& state) { state.isModeActive = true; });
}

void TypeController::exitTypeMode() {
    _state.withLock([](State& state) { state.isModeActive = false; });
}

void TypeController::appendCharacter(std::string_view s) {
    const std::string typed = wellFormedUtf8(s);
    publishAfter([&](State& state) {
        if (!state.isModeActive || typed.empty()) return false;
        state.text += typed;
        return true;
    });
}

void TypeController::deleteBackward() {
    publishAfter([](State& state) {
        if (!state.isModeActive || state.text.empty()) return false;
        removeLastCharacter(state.text);
        return true;
    });
}

void TypeController::clearAll() {
    publishAfter([](State& state) {
        if (state.text.empty()) return false;
        state.text.clear();
        return true;
    });
}

template <typename Change>
void TypeController::publishAfter(Change&& change) {
    std::string text;
    const auto subscriber = _state.withLock([&](State& state) {
        auto toTell = change(state) ? state.onTextUpdate : nullptr;
        if (toTell) text = state.text;
        return toTell;
    });
    if (subscriber) (*subscriber)(text);
}

} // namespace lanternfly
