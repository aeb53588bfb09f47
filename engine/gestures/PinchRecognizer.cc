#include "gestures/PinchRecognizer.h"

#include <algorithm>

#include "base/Match.h"
#include "gestures/UptimeSpan.h"

namespace lanternfly {

namespace {

constexpr float derivativeCutoff = 1.0f;    // Hz
constexpr float smallestHandSize = 0.0001f; // below it the ratio means nothing
constexpr float farthestSameHand = 0.2f;    // how far the followed hand may jump in one frame

double seconds(uint64_t nanos) {
    return static_cast<double>(nanos) / 1e9;
}

} // namespace

PinchRecognizer::PinchRecognizer(const Clock& clock, const Parameters& parameters)
    : _clock(clock), _parameters(parameters),
      _thumbTipFilter(parameters.positionFilterMinCutoff, parameters.positionFilterBeta,
                      derivativeCutoff),
      _indexTipFilter(_thumbTipFilter), _wristFilter(_thumbTipFilter),
      _middleMCPFilter(_thumbTipFilter),
      _sizeFilter(parameters.sizeFilterMinCutoff, parameters.sizeFilterBeta, derivativeCutoff) {}

void PinchRecognizer::setTrackingConfig(const TrackingConfig& config) {
    _parameters.pinchEnterRatio = config.pinchEnterRatio;
    _parameters.pinchExitRatio = config.pinchExitRatio;
    _parameters.confidenceFloors = {.thumbTip = config.landmarkFloorThumbTip,
                                    .indexTip = config.landmarkFloorIndexTip,
                                    .wrist = config.landmarkFloorWrist,
                                    .middleMCP = config.landmarkFloorMiddleMCP};
    _parameters.engagedFloorRelaxation = config.engagedFloorRelaxation;
    _parameters.positionFilterMinCutoff = config.positionFilterMinCutoff;
    _parameters.positionFilterBeta = config.positionFilterBeta;
    _parameters.sizeFilterMinCutoff = config.sizeFilterMinCutoff;
    _parameters.sizeFilterBeta = config.sizeFilterBeta;
    _parameters.predictionSeconds = static_cast<double>(config.predictionMs * 0.001f);
    _parameters.predictionVelocityFloor = config.predictionVelocityFloor;

    const auto tune = [](OneEuroFilter& filter, float minCutoff, float beta) {
        filter.minCutoff = minCutoff;
        filter.beta = beta;
    };
    for (OneEuroFilter2D* filter :
         {&_thumbTipFilter, &_indexTipFilter, &_wristFilter, &_middleMCPFilter}) {
        tune(filter->x, config.positionFilterMinCutoff, config.positionFilterBeta);
        tune(filter->y, config.positionFilterMinCutoff, config.positionFilterBeta);
    }
    tune(_sizeFilter, config.sizeFilterMinCutoff, config.sizeFilterBeta);
}

void PinchRecognizer::reset() {
    _state = Idle{};
    resetTracking();
}

void PinchRecognizer::resetTracking() {
    for (OneEuroFilter2D* filter :
         {&_thumbTipFilter, &_indexTipFilter, &_wristFilter, &_middleMCPFilter})
        filter->reset();
    _sizeFilter.reset();
    _lastTrackedMidpoint.reset();
}

void PinchRecognizer::process(std::span<const HandPose> poses) {
    const uint64_t nowNanos = _clock.uptimeNanos();
    const State state = _state;
    _ratio.reset();
    // The event leaves last, so that the callback may reset or tune the recognizer.
    const auto event =
        match(state, [&](const auto& current) { return step(current, poses, nowNanos); });
    if (event && _eventCallback) _eventCallback(*event);
}

std::optional<PinchEvent> PinchRecognizer::step(Idle, std::span<const HandPose> poses,
                                                uint64_t nowNanos) {
    const HandPose* closest = nullptr;
    float closestDistance = 0;
    for (const HandPose& pose : poses) {
        const auto measured = measure(pose, Mode::probing, nowNanos);
        if (!measured || !isAtOrBelowEnter(*measured)) continue;
        if (closest && measured->distance >= closestDistance) continue;
        closest = &pose;
        closestDistance = measured->distance;
    }
    if (closest) {
        resetTracking();
        _state = Arming{nowNanos, closest->chirality};
    }
    return std::nullopt;
}

std::optional<PinchEvent> PinchRecognizer::step(Arming arming, std::span<const HandPose> poses,
                                                uint64_t nowNanos) {
    const HandPose* hand = followedHand(poses, arming.chirality);
    const auto measured = hand ? follow(*hand, nowNanos) : std::nullopt;
    if (!measured || !isAtOrBelowEnter(*measured)) {
        _state = Idle{};
        return std::nullopt;
    }
    if (elapsedSeconds(arming.sinceNanos, nowNanos) < _parameters.armingHoldSeconds)
        return std::nullopt;
    _state = Pinching{arming.chirality, measured->size, nowNanos};
    return PinchBegan{predicted(measured->midpoint), hand->pts, hand->arrivedAtUptimeNanos};
}

std::optional<PinchEvent> PinchRecognizer::step(Pinching pinching, std::span<const HandPose> poses,
                                                uint64_t nowNanos) {
    const HandPose* hand = followedHand(poses, pinching.chirality);
    if (!hand) {
        if (elapsedSeconds(pinching.lastSeenAtNanos, nowNanos) <
            _parameters.noPoseHardTimeoutSeconds)
            return std::nullopt;
        _log.info("pinch released: no pose for {:.3f}s", _parameters.noPoseHardTimeoutSeconds);
        reset();
        return PinchEnded{};
    }
    // A hand in sight whose joints are unsure holds the pinch for as long as it stays.
    const auto measured = follow(*hand, nowNanos);
    if (!measured) return std::nullopt;

    if (isAboveExit(*measured))
        _state = Releasing{pinching.chirality, pinching.startSize, nowNanos};
    else
        _state = Pinching{pinching.chirality, pinching.startSize, nowNanos};
    const float scaleDelta =
        pinching.startSize > smallestHandSize ? measured->size / pinching.startSize : 1.0f;
    return PinchChanged{predicted(measured->midpoint), scaleDelta, hand->pts,
                        hand->arrivedAtUptimeNanos};
}

std::optional<PinchEvent>
PinchRecognizer::step(Releasing releasing, std::span<const HandPose> poses, uint64_t nowNanos) {
    const HandPose* hand = followedHand(poses, releasing.chirality);
    const auto measured = hand ? follow(*hand, nowNanos) : std::nullopt;
    // Coming back takes the enter ratio: between the two ratios a release goes on.
    if (measured && isAtOrBelowEnter(*measured)) {
        _state = Pinching{releasing.chirality, releasing.startSize, nowNanos};
        return std::nullopt;
    }
    if (elapsedSeconds(releasing.sinceNanos, nowNanos) < _parameters.releaseHoldSeconds)
        return std::nullopt;
    reset();
    const HandPose* last = firstOfChirality(poses, releasing.chirality);
    return last ? PinchEnded{last->pts, last->arrivedAtUptimeNanos} : PinchEnded{};
}

std::optional<PinchRecognizer::Measurement> PinchRecognizer::measure(const HandPose& pose,
                                                                     Mode mode, uint64_t nowNanos) {
    const auto* thumbTip = measurablePoint(pose, HandLandmark::thumbTip);
    const auto* indexTip = measurablePoint(pose, HandLandmark::indexTip);
    const auto* wrist = measurablePoint(pose, HandLandmark::wrist);
    const auto* middleMCP = measurablePoint(pose, HandLandmark::middleMCP);
    if (!thumbTip || !indexTip || !wrist || !middleMCP) return std::nullopt;

    if (_telemetry)
        _telemetry->recordLandmarkConfidence((thumbTip->confidence + indexTip->confidence +
                                              wrist->confidence + middleMCP->confidence) *
                                             0.25f);

    const auto& floors = _parameters.confidenceFloors;
    const auto isSure = [&](const HandPose::Point& point, float floor) {
        const float relaxed =
            isEngaged() ? std::max(floor - _parameters.engagedFloorRelaxation, 0.0f) : floor;
        return point.confidence >= relaxed;
    };
    if (!isSure(*thumbTip, floors.thumbTip) || !isSure(*indexTip, floors.indexTip) ||
        !isSure(*wrist, floors.wrist) || !isSure(*middleMCP, floors.middleMCP))
        return std::nullopt;

    const double time =
        seconds(pose.arrivedAtUptimeNanos != 0 ? pose.arrivedAtUptimeNanos : nowNanos);
    const auto place = [&](const HandPose::Point& point, OneEuroFilter2D& filter) {
        return mode == Mode::probing ? position(point) : filter.filter(position(point), time);
    };
    const float2 thumb = place(*thumbTip, _thumbTipFilter);
    const float2 index = place(*indexTip, _indexTipFilter);
    const float2 base = place(*wrist, _wristFilter);
    const float2 knuckle = place(*middleMCP, _middleMCPFilter);

    const float size = glm::distance(base, knuckle);
    if (size <= smallestHandSize) return std::nullopt;
    return Measurement{.midpoint = (thumb + index) * 0.5f,
                       .distance = glm::distance(thumb, index),
                       .size = mode == Mode::probing ? size : _sizeFilter.filter(size, time)};
}

std::optional<PinchRecognizer::Measurement> PinchRecognizer::follow(const HandPose& pose,
                                                                    uint64_t nowNanos) {
    const auto measured = measure(pose, Mode::following, nowNanos);
    if (measured) {
        _lastTrackedMidpoint = measured->midpoint;
        _ratio = measured->distance / measured->size;
    }
    return measured;
}

const HandPose* PinchRecognizer::followedHand(std::span<const HandPose> poses,
                                              HandPose::Chirality chirality) const {
    if (poses.empty()) return nullptr;
    if (const HandPose* same = firstOfChirality(poses, chirality)) return same;
    if (poses.size() == 1) return &poses.front();
    if (!_lastTrackedMidpoint) return nullptr;

    const HandPose* nearest = nullptr;
    float nearestDistance = 0;
    for (const HandPose& pose : poses) {
        const auto* thumbTip = measurablePoint(pose, HandLandmark::thumbTip);
        const auto* indexTip = measurablePoint(pose, HandLandmark::indexTip);
        if (!thumbTip || !indexTip) continue;
        const float2 midpoint = (position(*thumbTip) + position(*indexTip)) * 0.5f;
        const float distance = glm::distance(midpoint, *_lastTrackedMidpoint);
        if (distance > farthestSameHand || (nearest && distance >= nearestDistance)) continue;
        nearest = &pose;
        nearestDistance = distance;
    }
    return nearest;
}

float2 PinchRecognizer::predicted(float2 midpoint) const {
    if (_parameters.predictionSeconds <= 0) return midpoint;
    const float2 velocity =
        (_thumbTipFilter.smoothedVelocity() + _indexTipFilter.smoothedVelocity()) * 0.5f;
    const float floor = _parameters.predictionVelocityFloor;
    float gain = 1;
    if (floor > 0) {
        const float speed = glm::length(velocity);
        if (speed <= floor) return midpoint;
        gain = std::min((speed - floor) / floor, 1.0f);
    }
    return midpoint + velocity * gain * static_cast<float>(_parameters.predictionSeconds);
}

bool PinchRecognizer::isAtOrBelowEnter(const Measurement& measurement) const {
    return _parameters.pinchEnterRatio * measurement.size >= measurement.distance;
}

bool PinchRecognizer::isAboveExit(const Measurement& measurement) const {
    return _parameters.pinchExitRatio * measurement.size < measurement.distance;
}

PinchRecognizer::Phase PinchRecognizer::phase() const {
    return match(
        _state, [](const Idle&) { return Phase::idle; },
        [](const Arming&) { return Phase::arming; },
        [](const Pinching&) { return Phase::pinching; },
        [](const Releasing&) { return Phase::releasing; });
}

bool PinchRecognizer::isEngaged() const {
    return std::holds_alternative<Pinching>(_state) || std::holds_alternative<Releasing>(_state);
}

} // namespace lanternfly
