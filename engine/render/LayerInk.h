// From the drawing layers of a session to strokes ready to draw.
// Threads: value.
#pragma once

#include <optional>
#include <span>
#include <vector>

#include "document/Layer.h"
#include "render/StrokeBatch.h"

namespace lanternfly {

// A stroke of one point is a round dot, 1.25 stroke widths across with its feather, but no smaller
// than the feather is. Null when there is nothing to draw: no usable points, all of them one place,
// or numbers beyond any drawing surface.
std::optional<StrokeBatch> inkBatch(const Stroke& stroke, const DrawingViewport& viewport);

// Every stroke of every drawing layer, in order.
std::vector<StrokeBatch> inkBatches(std::span<const Layer> layers);

} // namespace lanternfly
