#include "render/LayerInk.h"

#include <algorithm>

#include "render/InkTessellator.h"

namespace lanternfly {

namespace {

// How many strokes may be looked through for one that is the same.
constexpr size_t maxGoneStrokes = 256;

} // namespace

LayerInk::LayerInk(Layers layers, const LayerInk& before) : _layers(std::move(layers)) {
    std::vector<StrokeBatchRef> batches;
    InkTessellator tessellator;
    size_t passed = 0; // of the strokes before: what stays keeps its order
    for (const Layer& layer : *_layers) {
        const auto* drawing = std::get_if<DrawingContent>(&layer.content);
        if (layer.kind != LayerKind::drawing || !drawing) continue;
        for (const Stroke& stroke : drawing->strokes) {
            Drawn drawn{&stroke, &drawing->viewport, nullptr};
            const size_t end = std::min(passed + maxGoneStrokes, before._drawn.size());
            size_t same = passed;
            while (same < end && !isSame(before._drawn[same], drawn))
                ++same;
            if (same < end) {
                drawn.batch = before._drawn[same].batch;
                passed = same + 1;
            } else if (auto batch = tessellator.batch(stroke, drawing->viewport)) {
                drawn.batch = std::make_shared<const StrokeBatch>(std::move(*batch));
            }
            if (drawn.batch) batches.push_back(drawn.batch);
            _drawn.push_back(std::move(drawn));
        }
    }
    if (!batches.empty())
        _batches = std::make_shared<const std::vector<StrokeBatchRef>>(std::move(batches));
}

bool LayerInk::isSame(const Drawn& a, const Drawn& b) {
    // Most strokes differ in these already.
    return a.stroke->points.size() == b.stroke->points.size() &&
           (a.stroke->points.empty() || a.stroke->points.back() == b.stroke->points.back()) &&
           *a.viewport == *b.viewport && *a.stroke == *b.stroke;
}

} // namespace lanternfly
