// Random single-hand crops with labels, to train on.
#pragma once

#include "Clip.h"

namespace presenter {

int renderSamples(const Args& a);

} // namespace presenter
