// What single pictures cannot tell of a clip: how a still hand trembles, and which pinches begin.
// Threads: value.
#pragma once

#include <map>
#include <optional>
#include <span>
#include <vector>

#include "app/evaluate/HandScores.h"

namespace lanternfly {

// How much joints tremble while a hand rests, in hand sizes.
struct StillJitter {
    int windows = 0;    // that could be measured
    double found = NAN; // median over the windows
    double labelled = NAN;
};

// Pinches that begin, recognized from the labels and from what was found.
struct PinchCounts {
    int labelled = 0, found = 0;
    int matched = 0; // found within 0.27 s of a labelled one
};

class HandSequence {
public:
    // The next picture of the clip, of this size in pixels.
    void add(const FoundPicture& found, const LabelledPicture& labelled, double2 sizePX);

    // Windows of 10 pictures in which the labelled palm moves by less than 0.04 and no labelled
    // joint by more than 0.15 hand sizes. In each the standard deviation of a joint around its
    // straight line through time, mean of all joints.
    StillJitter stillJitter() const;
    PinchCounts pinches(double framesPerSecond) const;

private:
    struct Sample {
        JointPixels found, labelled;
    };
    struct Track {
        JointPixels last{};
        size_t lastPicture = 0;
        std::map<size_t, Sample> samples; // by picture; those in which the hand was found
    };
    struct Picture {
        std::vector<LabelledHand> found, labelled;
        double2 sizePX;
    };
    Track& trackOf(const LabelledHand& hand);

    std::vector<Track> _tracks;
    std::vector<Picture> _pictures;
};

} // namespace lanternfly
