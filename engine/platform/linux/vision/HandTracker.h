// Follows up to two hands through a video: when to search, whom to believe, whom to let go.
// Holds no network and no picture; all that it knows comes through HandSight.
// Threads: bound.
#pragma once

#include <array>
#include <span>

#include "platform/linux/vision/HandTrack.h"

namespace lanternfly {

class HandTracker {
public:
    struct Limits {
        // The detector looks at every picture while no hand is tracked, at every n-th while one is,
        // and at every 2n-th while a tracked hand is doubtful.
        int searchInterval = 5;
        double detectorScore = 0.35;

        // A new hand is read twice: where the detector saw it, and on the crop of its own joints.
        double firstLookPresence = 0.4;
        double enterPresence = 0.6;
        double enterConfidence = 0.5;
        // It is reported from this picture on, and not before one proof: a reading of this mean
        // confidence, or a look of the detector with this score.
        int confirmPictures = 2;
        double provenConfidence = 0.8;
        double provenScore = 0.7;

        // A tracked hand goes after so many weak pictures in a row, at once below `noPresence`.
        double leavePresence = 0.35;
        double leaveConfidence = 0.33;
        int leavePictures = 2;
        double noPresence = 0.1;

        // A hand of lower mean confidence needs the detector's support at this lower score; it goes
        // when it is denied so many times in a row.
        double sureConfidence = 0.7;
        double supportScore = 0.3;
        int deniedSupports = 3;

        static const Limits defaults;
    };

    explicit HandTracker(const Limits& limits = Limits::defaults) : _limits(limits) {}

    // Looks at the next picture of the video.
    void follow(HandSight& picture);
    // Forgets all hands, as before the first picture.
    void reset();

    // Tracked hands, the oldest first. A hand counts once isConfirmed() holds for it.
    std::span<const HandTrack> hands() const { return {_hands.data(), _count}; }
    bool isConfirmed(const HandTrack& hand) const {
        return hand.age() >= _limits.confirmPictures && hand.isProven();
    }

private:
    bool keepFollowing(HandSight& picture, HandTrack& hand) const;
    void followAll(HandSight& picture);
    void dropDuplicate();
    bool isDoubtful(const HandTrack& hand) const;
    bool shouldSearch() const;
    void dropUnsupported(const HandCandidates& found);
    void proveBySight(const HandCandidates& found);
    void adopt(HandSight& picture, const HandCandidate& candidate, const FaceCandidates& faces);
    HandTrack* placeFor(const HandTrack& hand);
    void settleChirality();
    template <typename Predicate>
    void dropIf(Predicate&& predicate);

    Limits _limits;
    std::array<HandTrack, HandPoseDetector::maximumHandCount> _hands;
    size_t _count = 0;
    uint64_t _pictureCount = 0;
    uint64_t _nextId = 1;
};

inline constexpr HandTracker::Limits HandTracker::Limits::defaults{};

} // namespace lanternfly
