// From the drawing layers of a session to strokes ready to draw.
// Threads: value.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "document/Layer.h"
#include "render/StrokeBatch.h"

namespace lanternfly {

// Every stroke of every drawing layer, in order. Strokes come and go one at a time while all others
// stay as they are, so a stroke that the ink before it had too keeps its batch.
class LayerInk {
public:
    using Layers = std::shared_ptr<const std::vector<Layer>>;

    LayerInk() = default;
    LayerInk(Layers layers, const LayerInk& before);

    const StrokeBatches& batches() const { return _batches; }

private:
    struct Drawn {
        const Stroke* stroke; // of `_layers`
        const DrawingViewport* viewport;
        StrokeBatchRef batch; // null: nothing to draw
    };

    static bool isSame(const Drawn& a, const Drawn& b);
    void tessellate(std::span<const size_t> fresh);

    Layers _layers;
    std::vector<Drawn> _drawn;
    StrokeBatches _batches = sharedBatches({});
};

} // namespace lanternfly
