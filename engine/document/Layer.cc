#include "document/Layer.h"

#include <algorithm>
#include <array>

namespace lanternfly {

namespace {

constexpr std::array<std::string_view, layerKindCount> rawNames{
    "caption",       "lower_third", "annotation", "chapter_marker", "tap_target",
    "data_snapshot", "window",      "drawing",    "model3d"};

} // namespace

std::string_view rawName(LayerKind kind) {
    return rawNames.at(static_cast<size_t>(kind));
}

std::optional<LayerKind> layerKind(std::string_view rawName) {
    const auto found = std::find(rawNames.begin(), rawNames.end(), rawName);
    if (found == rawNames.end()) return std::nullopt;
    return static_cast<LayerKind>(found - rawNames.begin());
}

Layer Layer::lanternflyOnDeck(WindowContent::Source source, std::string creatorID) {
    return {.id = lanternflyOnDeckName,
            .kind = LayerKind::window,
            .placement = Placement::at({.x = 0, .y = 0, .z = 0.5}),
            .creatorID = std::move(creatorID),
            .content = WindowContent{std::move(source)}};
}

Layer Layer::lanternflyModel3D(std::string assetURL, const Placement& placement,
                               std::string creatorID) {
    return {.id = lanternflyModel3DLayerName,
            .kind = LayerKind::model3d,
            .placement = placement,
            .creatorID = std::move(creatorID),
            .content = Model3DContent{.assetURL = std::move(assetURL)}};
}

} // namespace lanternfly
