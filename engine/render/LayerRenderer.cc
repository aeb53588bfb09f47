#include "render/LayerRenderer.h"

#include <algorithm>

namespace lanternfly {

LayerRenderer::LayerRenderer(std::shared_ptr<FrameCompositor> compositor)
    : _compositor(std::move(compositor)) {}

void LayerRenderer::setLayers(std::vector<Layer> layers, float canvasAspect) {
    const auto shown = std::make_shared<const std::vector<Layer>>(std::move(layers));
    auto replaced = shown; // dies after the lock is released
    _state.withLock([&](State& state) {
        state.layers.swap(replaced);
        state.canvasAspect = canvasAspect;
    });
    showSlide();
    auto ink = std::make_shared<const LayerInk>(shown, *_ink.get());
    _compositor->setSharedStrokeBatches(ink->batches());
    _ink.set(std::move(ink));
}

void LayerRenderer::setTexture(std::optional<LayerTextureBinding> binding,
                               const std::string& forLayerID) {
    _state.withLock([&](State& state) {
        // Either way the old texture dies after the lock is released.
        if (binding) {
            std::swap(state.textureBindings[forLayerID], *binding);
        } else if (const auto node = state.textureBindings.extract(forLayerID)) {
            binding = node.mapped();
        }
    });
    // Ink does not depend on textures, and a captured window brings one with every frame.
    showSlide();
}

void LayerRenderer::setAppearance(const OverlayAppearance& appearance) {
    _compositor->setAppearance(appearance);
}

void LayerRenderer::setPinchIndicator(const PinchIndicatorState& state) {
    _compositor->setPinchIndicator(state);
}

void LayerRenderer::setTuning(const VisionOSTuning& tuning) {
    _compositor->setTuning(tuning);
}

float LayerRenderer::canvasAspect() const {
    return _state.withLock([](const State& state) { return state.canvasAspect; });
}

LayerTextureBinding LayerRenderer::slideOf(const State& state) {
    const auto layer =
        std::find_if(state.layers->begin(), state.layers->end(),
                     [](const Layer& each) { return each.kind == LayerKind::window; });
    if (layer == state.layers->end()) return {};
    const auto binding = state.textureBindings.find(layer->id);
    return binding == state.textureBindings.end() ? LayerTextureBinding{} : binding->second;
}

void LayerRenderer::showSlide() {
    LayerTextureBinding slide = _state.withLock([](const State& state) { return slideOf(state); });
    _compositor->setSlideTexture(std::move(slide.texture), slide.originTopLeft);
}

} // namespace lanternfly
