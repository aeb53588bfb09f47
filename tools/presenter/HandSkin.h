// The colour of a hand: palm, knuckles, creases, nails, veins, and what the arm wears.
#pragma once

#include "Appearance.h"
#include "HandSurface.h"

namespace presenter {

// Surface at the point p of material mat; n is the normal and may be tilted by small relief.
Surf handSurface(const HandGeom& g, V3 p, V3& n, int mat, const Look& L);

} // namespace presenter
