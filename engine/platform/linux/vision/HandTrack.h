// One hand followed from picture to picture.
// Threads: value.
#pragma once

#include <cstdint>

#include "platform/linux/vision/HandSight.h"

namespace lanternfly {

class HandTrack {
public:
    HandTrack() = default;
    // A hand that appears on a face needs both proofs.
    HandTrack(uint64_t id, const HandReading& first, bool isOnFace);

    uint64_t id() const { return _id; }
    const HandReading& reading() const { return _reading; }
    int age() const { return _age; } // pictures in which it was read

    // Takes the next picture's reading.
    void update(const HandReading& reading);
    // Where the joints should be in the next picture. Only the common motion of wrist and knuckles
    // is carried on, in part: fingers and mistakes are not extrapolated.
    JointPositions predicted() const;
    // The prediction with a weight by the last confidence of each joint.
    JointPrior prior() const;

    // Once the joints were read with confidence, or the detector was sure of it: a hand, not
    // something that reminds of one.
    void proveByReading() { _isProvenByReading = true; }
    void proveBySight() { _isProvenBySight = true; }
    bool isProven() const {
        return _isOnFace ? _isProvenByReading && _isProvenBySight
                         : _isProvenByReading || _isProvenBySight;
    }

    // Leaky sum of the log-odds of being a right hand; positive is right.
    double chiralityVote() const { return _chiralityVote; }
    void setChiralityVote(double vote) { _chiralityVote = vote; }

    // Counts pictures in a row whose reading was weak; returns the count.
    int countWeak(bool isWeak) { return _weakCount = isWeak ? _weakCount + 1 : 0; }
    // Counts doubts in a row that the detector did not settle; returns the count.
    int countUnsupported(bool isUnsupported) {
        return _unsupportedCount = isUnsupported ? _unsupportedCount + 1 : 0;
    }

private:
    void vote(const HandReading& reading);

    uint64_t _id = 0;
    HandReading _reading;
    bool _isOnFace = false;
    bool _isProvenByReading = false;
    bool _isProvenBySight = false;
    int _age = 0;
    int _weakCount = 0;
    int _unsupportedCount = 0;
    double _chiralityVote = 0;
    double2 _velocityPX{0, 0}; // a picture
};

// Whether two tracks lie on one hand: their centres are close, or most joints are.
bool isSameHand(const HandTrack& a, const HandTrack& b);
// Whether a detector candidate lies on a tracked hand.
bool isOn(const HandTrack& track, const HandCandidate& candidate);
// Whether the middle of the palm lies on a face.
bool isPalmOn(const FaceCandidate& face, const JointPositions& joints);

} // namespace lanternfly
