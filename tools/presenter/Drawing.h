// Draws arms and body into layers, and blurs a layer along its motion.
#pragma once

#include <vector>

#include "Body.h"
#include "HandSurface.h"

namespace presenter {

void renderArm(Layer& out, const Camera& cam, const HandGeom& g, const Look& look, const Lights& L,
               const HandGeom* other);
void renderBody(Layer& out, const Camera& cam, const Body& b, const Lights& L,
                const HandGeom* const* arms, int nArms);
// Blurs a layer along the projected motion of its landmarks: places and displacements in pixels.
void motionBlur(Layer& l, const std::vector<V3>& pos, const std::vector<V3>& vel);

} // namespace presenter
