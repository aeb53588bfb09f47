// One layer of a session: something that is shown on the canvas.
// Threads: value.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "document/LayerContent.h"
#include "document/Placement.h"

namespace lanternfly {

enum class LayerKind : int {
    caption = 0,
    lowerThird = 1,
    annotation = 2,
    chapterMarker = 3,
    tapTarget = 4,
    dataSnapshot = 5,
    window = 6,
    drawing = 7,
    model3d = 8,
};
inline constexpr int layerKindCount = 9;

// The kind's name in files: "lower_third".
std::string_view rawName(LayerKind kind);
std::optional<LayerKind> layerKind(std::string_view rawName);

struct Layer {
    // Ids of the layers that every session has.
    static constexpr const char* lanternflyLive = "lyr_window_primary";
    static constexpr const char* lanternflyOnDeckName = "lyr_window_on_deck";
    static constexpr const char* lanternflyModel3DLayerName = "lyr_model3d_primary";
    // Creator of layers that are made on this machine.
    static constexpr const char* localCreatorID = "lanternfly.local";

    std::string id{};
    LayerKind kind = LayerKind::caption;
    Placement placement{};
    bool isHidden = false;
    std::string creatorID{};
    LayerContent content{};

    // The staged window layer, at the neutral position.
    static Layer lanternflyOnDeck(WindowContent::Source source, std::string creatorID);
    // The model layer. `assetURL` is an absolute URL.
    static Layer lanternflyModel3D(std::string assetURL, const Placement& placement,
                                   std::string creatorID);

    friend bool operator==(const Layer&, const Layer&) = default;
};

} // namespace lanternfly
