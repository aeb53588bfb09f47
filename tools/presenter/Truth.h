// The exact truth of a picture, as JSON.
#pragma once

#include <ostream>

#include "Moment.h"

namespace presenter {

void landmarksPx(const HandGeom& g, const Camera& cam, float (*px)[2]);
struct Truth {
    float px[21][2];
    float pinch2, pinch3;
    bool peaceSign;
    int inside;
};

Truth measure(const HandGeom& g, const Camera& cam);
void putHand(std::ostream& o, const Truth& t, const HandGeom& g, const char* side);

} // namespace presenter
