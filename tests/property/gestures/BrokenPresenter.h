// A presenter who pinches with either hand or both, shows the peace sign and wanders, seen by a
// camera and a detector that fail in every way.
// Threads: value; it moves the clock.
#pragma once

#include <vector>

#include "support/BrokenFrames.h"

namespace lanternfly::test {

class BrokenPresenter : FrameBreaker {
public:
    using FrameBreaker::FrameBreaker;

    struct Frame {
        std::vector<HandPose> poses;
        bool showsPeaceSign = false; // some hand of the frame was made as one
    };

    // The next frame, valid until the one after.
    const Frame& next();

private:
    enum class Shape { open, pinched, peaceSign };
    struct Hand {
        HandPose::Chirality chirality;
        float2 place;
        Shape shape = Shape::open;
    };

    void changeShape(Hand& hand);
    HandPose seen(Hand& hand);

    Hand _hands[2] = {{HandPose::Chirality::left, {0.3f, 0.5f}},
                      {HandPose::Chirality::right, {0.7f, 0.5f}}};
    Frame _frame;
};

} // namespace lanternfly::test
