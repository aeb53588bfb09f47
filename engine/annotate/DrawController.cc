#include "annotate/DrawController.h"

#include <cmath>
#include <utility>

namespace lanternfly {

DrawController::DrawController(const DrawingViewport& viewport, std::string layerID,
                               std::string strokeColor, double strokeWidthPX)
    : _viewport(viewport), _layerID(std::move(layerID)),
      _state(State{.strokeColor = std::move(strokeColor), .strokeWidthPX = strokeWidthPX}) {}

std::string DrawController::strokeColor() const {
    return _state.withLock([](const State& state) { return state.strokeColor; });
}

void DrawController::setStrokeColor(std::string color) {
    _state.withLock([&](State& state) { state.strokeColor.swap(color); });
}

double DrawController::strokeWidthPX() const {
    return _state.withLock([](const State& state) { return state.strokeWidthPX; });
}

void DrawController::setStrokeWidthPX(double width) {
    _state.withLock([&](State& state) { state.strokeWidthPX = width; });
}

double DrawController::dwellSeconds() const {
    return _state.withLock([](const State& state) { return state.dwellSeconds; });
}

void DrawController::setDwellSeconds(double seconds) {
    _state.withLock([&](State& state) { state.dwellSeconds = seconds; });
}

bool DrawController::autoUnwriteEnabled() const {
    return _state.withLock([](const State& state) { return state.autoUnwriteEnabled; });
}

void DrawController::setAutoUnwriteEnabled(bool isEnabled) {
    _state.withLock([&](State& state) { state.autoUnwriteEnabled = isEnabled; });
}

double DrawController::unwriteReferenceLengthPX() const {
    return _state.withLock(
        [](const State& state) { return state.unwriteDuration.referenceLengthPX; });
}

void DrawController::setUnwriteReferenceLengthPX(double length) {
    _state.withLock([&](State& state) { state.unwriteDuration.referenceLengthPX = length; });
}

double DrawController::unwriteMinSeconds() const {
    return _state.withLock([](const State& state) { return state.unwriteDuration.minSeconds; });
}

void DrawController::setUnwriteMinSeconds(double seconds) {
    _state.withLock([&](State& state) { state.unwriteDuration.minSeconds = seconds; });
}

double DrawController::unwriteMaxSeconds() const {
    return _state.withLock([](const State& state) { return state.unwriteDuration.maxSeconds; });
}

void DrawController::setUnwriteMaxSeconds(double seconds) {
    _state.withLock([&](State& state) { state.unwriteDuration.maxSeconds = seconds; });
}

void DrawController::setOnLayerUpdate(LayerUpdate callback) {
    auto subscriber = callback ? std::make_shared<const LayerUpdate>(std::move(callback)) : nullptr;
    _state.withLock([&](State& state) { state.onLayerUpdate.swap(subscriber); });
}

bool DrawController::isModeActive() const {
    return _state.withLock([](const State& state) { return state.isModeActive; });
}

void DrawController::enterDrawMode() {
    publishAfter([](State& state) { return !std::exchange(state.isModeActive, true); });
}

void DrawController::exitDrawMode() {
    publishAfter([](State& state) {
        if (!state.isModeActive) return false;
        commit(state);
        state.isModeActive = false;
        return true;
    });
}

void DrawController::pointerBegan(double2 atPX) {
    publishAfter([&](State& state) {
        if (!state.isModeActive) return false;
        commit(state);
        state.inProgressPoints = {{atPX.x, atPX.y}};
        return true;
    });
}

void DrawController::pointerMoved(double2 toPX) {
    publishAfter([&](State& state) {
        if (!state.isModeActive || state.inProgressPoints.empty()) return false;
        state.inProgressPoints.push_back({toPX.x, toPX.y});
        return true;
    });
}

void DrawController::pointerEnded() {
    publishAfter([](State& state) {
        if (!state.isModeActive || state.inProgressPoints.empty()) return false;
        commit(state);
        return true;
    });
}

bool DrawController::hasLifecycleWork() const {
    return committedStrokeCount() > 0;
}

void DrawController::tick(double deltaSeconds) {
    if (std::isnan(deltaSeconds)) return; // no time has passed
    publishAfter([&](State& state) { return advance(state, deltaSeconds); });
}

void DrawController::clearAll() {
    publishAfter([](State& state) {
        if (state.committedStrokes.empty() && state.inProgressPoints.empty()) return false;
        state.committedStrokes.clear();
        state.inProgressPoints.clear();
        return true;
    });
}

std::optional<Layer> DrawController::currentLayer() const {
    return _state.withLock([&](const State& state) { return layerOf(state); });
}

int DrawController::committedStrokeCount() const {
    return _state.withLock(
        [](const State& state) { return static_cast<int>(state.committedStrokes.size()); });
}

template <typename Change>
void DrawController::publishAfter(Change&& change) {
    std::optional<Layer> layer;
    const auto subscriber = _state.withLock([&](State& state) {
        auto toTell = change(state) ? state.onLayerUpdate : nullptr;
        if (toTell) layer = layerOf(state);
        return toTell;
    });
    if (subscriber) (*subscriber)(layer);
}

void DrawController::commit(State& state) {
    if (state.inProgressPoints.empty()) return;
    Stroke stroke{.color = state.strokeColor,
                  .width = state.strokeWidthPX,
                  .points = std::exchange(state.inProgressPoints, {})};
    const double length = polylineLengthPX(stroke.points);
    state.committedStrokes.push_back({.stroke = std::move(stroke),
                                      .totalLengthPX = length,
                                      .dwellRemaining = state.dwellSeconds});
}

bool DrawController::advance(State& state, double deltaSeconds) {
    const bool isFrozen = state.isModeActive || !state.autoUnwriteEnabled;
    bool isChanged = false;
    // Times are compared so that one that is not a number has run out.
    std::erase_if(state.committedStrokes, [&](CommittedStroke& committed) {
        if (committed.unwriting) {
            isChanged = true;
            committed.unwriting->remaining -= deltaSeconds;
            return !(committed.unwriting->remaining > 0);
        }
        if (isFrozen) return false;
        committed.dwellRemaining -= deltaSeconds;
        if (committed.dwellRemaining > 0) return false;
        const double duration = state.unwriteDuration.seconds(committed.totalLengthPX);
        committed.unwriting = {duration, duration};
        isChanged = true;
        return false;
    });
    return isChanged;
}

std::optional<Stroke> DrawController::visiblePart(const CommittedStroke& committed) {
    if (!committed.unwriting || !(committed.unwriting->duration > 0)) return committed.stroke;
    auto points = keptPart(committed.stroke.points,
                           committed.unwriting->remaining / committed.unwriting->duration);
    if (points.empty()) return std::nullopt;
    return Stroke{committed.stroke.color, committed.stroke.width, std::move(points)};
}

std::optional<Layer> DrawController::layerOf(const State& state) const {
    DrawingContent content{.viewport = _viewport};
    content.strokes.reserve(state.committedStrokes.size() + 1);
    for (const CommittedStroke& committed : state.committedStrokes)
        if (auto stroke = visiblePart(committed)) content.strokes.push_back(std::move(*stroke));
    if (!state.inProgressPoints.empty()) // last, so that it is drawn on top
        content.strokes.push_back({state.strokeColor, state.strokeWidthPX, state.inProgressPoints});
    if (content.strokes.empty()) return std::nullopt;
    return Layer{.id = _layerID,
                 .kind = LayerKind::drawing,
                 .placement = Placement::at({.x = 0, .y = 0, .z = 0.5}),
                 .creatorID = Layer::localCreatorID,
                 .content = std::move(content)};
}

} // namespace lanternfly
