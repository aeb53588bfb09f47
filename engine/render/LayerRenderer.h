// Shows a session's layers: the first window layer as the slide, every drawing layer as ink. A host
// that drives the compositor through layers needs only this.
// Threads: safe. Of two changes made at the same time the later store stays.
#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/LockedCell.h"
#include "document/Layer.h"
#include "render/FrameCompositor.h"
#include "render/LayerInk.h"

namespace lanternfly {

// The picture of one layer: a captured window, a page.
struct LayerTextureBinding {
    TextureRef texture;
    bool originTopLeft = false; // the texture's first row is the top of the picture
};

class LayerRenderer {
public:
    explicit LayerRenderer(std::shared_ptr<FrameCompositor> compositor);

    // The layers in the session's order; `canvasAspect` is the canvas's width over its height.
    void setLayers(std::vector<Layer> layers, float canvasAspect);
    // Null takes the picture away. A picture may come before its layer.
    void setTexture(std::optional<LayerTextureBinding> binding, const std::string& forLayerID);

    // Handed on to the compositor.
    void setAppearance(const OverlayAppearance& appearance);
    void setPinchIndicator(const PinchIndicatorState& state);
    void setTuning(const VisionOSTuning& tuning);

    float canvasAspect() const;

private:
    using Layers = LayerInk::Layers; // never null
    struct State {
        Layers layers = std::make_shared<const std::vector<Layer>>();
        float canvasAspect = 16.0f / 9.0f;
        std::map<std::string, LayerTextureBinding> textureBindings;
    };

    // The first window layer's picture; none without such a layer or picture.
    static LayerTextureBinding slideOf(const State& state);
    void showSlide();

    const std::shared_ptr<FrameCompositor> _compositor;
    LockedCell<State> _state;
    LockedCell<std::shared_ptr<const LayerInk>> _ink{std::make_shared<const LayerInk>()};
};

} // namespace lanternfly
