// What the presenter does, second by second.
#pragma once

#include <string>
#include <vector>

#include "Moment.h"

namespace presenter {

// Seconds.
float scriptLength(const std::string& script);
// lib is the pose library of the presenter's hand.
Moment scriptAt(const std::string& script, float t, const std::vector<HandPose>& lib, int seed);

} // namespace presenter
