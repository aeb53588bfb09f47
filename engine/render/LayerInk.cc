#include "render/LayerInk.h"

#include <algorithm>

#include "base/WorkerPool.h"
#include "render/InkTessellator.h"

namespace lanternfly {

namespace {

// How many strokes may be looked through for one that is the same.
constexpr size_t maxGoneStrokes = 256;

} // namespace

LayerInk::LayerInk(Layers layers, const LayerInk& before) : _layers(std::move(layers)) {
    std::vector<size_t> fresh; // strokes of `_drawn` that the ink before did not have
    size_t passed = 0;         // of the strokes before: what stays keeps its order
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
            } else {
                fresh.push_back(_drawn.size());
            }
            _drawn.push_back(std::move(drawn));
        }
    }
    tessellate(fresh);
    std::vector<StrokeBatchRef> batches;
    for (const Drawn& drawn : _drawn)
        if (drawn.batch) batches.push_back(drawn.batch);
    if (!batches.empty())
        _batches = std::make_shared<const std::vector<StrokeBatchRef>>(std::move(batches));
}

void LayerInk::tessellate(std::span<const size_t> fresh) {
    WorkerPool& pool = WorkerPool::shared();
    std::vector<InkTessellator> tessellators(pool.threadCount());
    pool.forEach(fresh.size(), [&](size_t part, size_t thread) {
        Drawn& drawn = _drawn[fresh[part]];
        if (auto batch = tessellators[thread].batch(*drawn.stroke, *drawn.viewport))
            drawn.batch = std::make_shared<const StrokeBatch>(std::move(*batch));
    });
}

bool LayerInk::isSame(const Drawn& a, const Drawn& b) {
    // Most strokes differ in these already.
    return a.stroke->points.size() == b.stroke->points.size() &&
           (a.stroke->points.empty() || a.stroke->points.back() == b.stroke->points.back()) &&
           *a.viewport == *b.viewport && *a.stroke == *b.stroke;
}

} // namespace lanternfly
