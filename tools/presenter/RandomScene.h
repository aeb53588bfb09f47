// A person, a light and a hand that never come twice.
#pragma once

#include "Moment.h"

namespace presenter {

struct RandomScene {
    Presenter presenter;
    Moment moment, before, after; // before and after: the hand while the shutter is open
    int side = 0;                 // the hand that is shown: 0 the right, 1 the left one
    bool hasBody = true;

    HandState& hand() { return moment.hand[side]; }
    bool hasOther() const { return moment.hand[1 - side].present; }
};

// Draws from g; the same seed and number give the same scene.
RandomScene randomScene(uint64_t seed, int number, Rng& g);

} // namespace presenter
