#include "platform/linux/vision/HandTracker.h"

#include <algorithm>
#include <cmath>

namespace lanternfly {
namespace {

bool isNumeric(const HandReading& reading) {
    return isFinite(reading.joints) && std::isfinite(reading.meanConfidence()) &&
           std::isfinite(reading.presence) && std::isfinite(reading.rightProbability);
}

// A reading that jumps, bursts, collapses or leaves the picture is not the hand that was followed.
bool continuesFrom(const HandCrop& looked, const HandReading& reading, const HandSight& picture) {
    const HandCrop found = cropAround(reading.joints);
    const double growth = found.sidePX / looked.sidePX;
    const double2 middle = centroid(reading.joints);
    const double width = picture.widthPX(), height = picture.heightPX();
    return 0.5 < growth && growth < 2.0 && found.sidePX > 12 && -0.1 * width < middle.x &&
           middle.x < 1.1 * width && -0.1 * height < middle.y && middle.y < 1.1 * height &&
           glm::distance(found.centre, looked.centre) < 0.5 * looked.sidePX;
}

double strength(const HandTrack& hand) {
    const double seniority = hand.age() >= 5 ? 0.3 : 0;
    return hand.reading().presence * hand.reading().meanConfidence() + seniority;
}

} // namespace

template <typename Predicate>
void HandTracker::dropIf(Predicate&& predicate) {
    const auto end = _hands.begin() + static_cast<long>(_count);
    _count = static_cast<size_t>(std::remove_if(_hands.begin(), end, predicate) - _hands.begin());
}

void HandTracker::reset() {
    _count = 0;
    _pictureCount = 0;
}

void HandTracker::follow(HandSight& picture) {
    followAll(picture);
    dropDuplicate();
    if (shouldSearch()) {
        const Sighting seen = picture.search(_limits.supportScore);
        dropUnsupported(seen.hands);
        for (const HandCandidate& candidate : seen.hands.all())
            if (candidate.score > _limits.detectorScore) adopt(picture, candidate, seen.faces);
        proveBySight(seen.hands);
    }
    ++_pictureCount;
    settleChirality();
}

void HandTracker::followAll(HandSight& picture) {
    dropIf([&](HandTrack& hand) { return !keepFollowing(picture, hand); });
}

bool HandTracker::keepFollowing(HandSight& picture, HandTrack& hand) const {
    const JointPrior prior = hand.prior();
    const HandCrop crop = cropAround(prior.joints);
    // One reading is not yet a past to expect anything from.
    const HandReading reading = picture.read(crop, hand.age() > 1 ? &prior : nullptr);
    if (!isNumeric(reading) || !continuesFrom(crop, reading, picture)) return false;
    if (reading.presence < _limits.noPresence) return false;
    const bool isWeak = reading.presence < _limits.leavePresence ||
                        reading.meanConfidence() < _limits.leaveConfidence;
    if (hand.countWeak(isWeak) >= _limits.leavePictures) return false;
    hand.update(reading);
    if (reading.meanConfidence() >= _limits.provenConfidence) hand.proveByReading();
    return true;
}

void HandTracker::dropDuplicate() {
    if (_count < 2 || !isSameHand(_hands[0], _hands[1])) return;
    if (strength(_hands[1]) > strength(_hands[0])) _hands[0] = _hands[1];
    _count = 1;
}

bool HandTracker::isDoubtful(const HandTrack& hand) const {
    return hand.reading().meanConfidence() < _limits.sureConfidence;
}

bool HandTracker::shouldSearch() const {
    const auto everyNth = [this](int n) { return _pictureCount % static_cast<uint64_t>(n) == 0; };
    if (_count == 0) return true;
    if (_count < _hands.size() && everyNth(_limits.searchInterval)) return true;
    const auto tracked = hands();
    // One that may be none must not keep the detector from a real one.
    if (everyNth(_limits.searchInterval) &&
        std::any_of(tracked.begin(), tracked.end(),
                    [](const HandTrack& hand) { return !hand.isProven(); }))
        return true;
    return everyNth(2 * _limits.searchInterval) &&
           std::any_of(tracked.begin(), tracked.end(),
                       [this](const HandTrack& hand) { return isDoubtful(hand); });
}

void HandTracker::dropUnsupported(const HandCandidates& found) {
    const auto candidates = found.all();
    dropIf([&](HandTrack& hand) {
        if (!isDoubtful(hand)) return false;
        const bool isSeen =
            std::any_of(candidates.begin(), candidates.end(),
                        [&](const HandCandidate& candidate) { return isOn(hand, candidate); });
        return hand.countUnsupported(!isSeen) >= _limits.deniedSupports;
    });
}

void HandTracker::proveBySight(const HandCandidates& found) {
    for (size_t i = 0; i < _count; ++i)
        for (const HandCandidate& candidate : found.all())
            if (candidate.score >= _limits.provenScore && isOn(_hands[i], candidate))
                _hands[i].proveBySight();
}

void HandTracker::adopt(HandSight& picture, const HandCandidate& candidate,
                        const FaceCandidates& faces) {
    const auto tracked = hands();
    const bool isFull = _count == _hands.size();
    if (isFull && std::all_of(tracked.begin(), tracked.end(),
                              [](const HandTrack& hand) { return hand.isProven(); }))
        return;
    if (std::any_of(tracked.begin(), tracked.end(),
                    [&](const HandTrack& hand) { return isOn(hand, candidate); }))
        return;

    const HandReading first = picture.read(candidate.crop, nullptr);
    if (!isNumeric(first) || first.presence < _limits.firstLookPresence) return;
    const HandCrop crop = cropAround(first.joints);
    const double growth = crop.sidePX / candidate.crop.sidePX;
    if (growth <= 0.4 || growth >= 2.5) return;

    const HandReading second = picture.read(crop, nullptr);
    if (!isNumeric(second) || second.presence < _limits.enterPresence ||
        second.meanConfidence() < _limits.enterConfidence)
        return;
    const auto all = faces.all();
    const bool isOnFace = std::any_of(all.begin(), all.end(), [&](const FaceCandidate& face) {
        return isPalmOn(face, second.joints);
    });
    HandTrack hand(_nextId, second, isOnFace);
    if (second.meanConfidence() >= _limits.provenConfidence) hand.proveByReading();
    if (candidate.score >= _limits.provenScore) hand.proveBySight();
    if (std::any_of(tracked.begin(), tracked.end(),
                    [&](const HandTrack& other) { return isSameHand(hand, other); }))
        return;
    if (HandTrack* place = placeFor(hand)) {
        ++_nextId;
        *place = hand;
    }
}

// A free place, or that of a hand that was never proven when this one is.
HandTrack* HandTracker::placeFor(const HandTrack& hand) {
    if (_count < _hands.size()) return &_hands[_count++];
    if (!hand.isProven()) return nullptr;
    const auto unproven = std::find_if(_hands.begin(), _hands.end(),
                                       [](const HandTrack& other) { return !other.isProven(); });
    if (unproven == _hands.end()) return nullptr;
    // The oldest hand stays first.
    std::rotate(unproven, unproven + 1, _hands.end());
    return &_hands.back();
}

// The hands are one person's, a left and a right one: of two alike the clearly weaker vote yields.
void HandTracker::settleChirality() {
    if (_count < 2 || !isConfirmed(_hands[0]) || !isConfirmed(_hands[1])) return;
    HandTrack* weaker = &_hands[0];
    HandTrack* stronger = &_hands[1];
    if ((weaker->chiralityVote() > 0) != (stronger->chiralityVote() > 0)) return;
    if (std::abs(stronger->chiralityVote()) < std::abs(weaker->chiralityVote()))
        std::swap(weaker, stronger);
    const double doubt = std::abs(weaker->chiralityVote());
    const double certainty = std::abs(stronger->chiralityVote());
    if (doubt < 3 && certainty > doubt + 1)
        weaker->setChiralityVote(std::copysign(0.5, -stronger->chiralityVote()));
}

} // namespace lanternfly
