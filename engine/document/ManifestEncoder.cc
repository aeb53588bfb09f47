#include "document/Manifest.h"

#include <cmath>

#include <nlohmann/json.hpp>

#include "base/Match.h"
#include "document/ManifestNames.h"

namespace lanternfly {

namespace {

using Json = nlohmann::ordered_json;

[[noreturn]] void refuse(const std::string& text) {
    throw ManifestError(ManifestError::Kind::badValue, text);
}

double checked(double number) {
    if (!(std::abs(number) <= maxManifestNumber)) refuse("a number is out of range");
    return number;
}

template <typename Names, typename Value>
std::string_view name(const Names& names, Value value) {
    const auto index = static_cast<size_t>(value);
    if (index >= names.size()) refuse("an enumeration has no such value");
    return names[index];
}

Json encoded(const Stroke& stroke) {
    Json points = Json::array();
    for (const auto& point : stroke.points) {
        Json coordinates = Json::array();
        for (const double coordinate : point)
            coordinates.push_back(checked(coordinate));
        points.push_back(std::move(coordinates));
    }
    return {
        {"color", stroke.color}, {"width", checked(stroke.width)}, {"points", std::move(points)}};
}

Json encoded(const WindowContent& content) {
    Json out = Json::object();
    match(
        content.source, [](std::monostate) {},
        [&](const WindowContent::Deck& deck) {
            if (deck.pageIndex < 0) refuse("a page index is out of range");
            out["deck"] = {
                {"file", deck.fileURL}, {"identity", deck.identity}, {"page", deck.pageIndex}};
        },
        [&](const WindowContent::Window& window) {
            out["window"] = {{"application", window.applicationID}, {"title", window.title}};
        },
        [&](const WindowContent::Display& display) {
            out["display"] = {{"name", display.name}};
        });
    return out;
}

Json encoded(const DrawingContent& content) {
    Json strokes = Json::array();
    for (const auto& stroke : content.strokes)
        strokes.push_back(encoded(stroke));
    return {{"strokes", std::move(strokes)},
            {"viewport",
             {{"width", checked(content.viewport.width)},
              {"height", checked(content.viewport.height)}}}};
}

Json encoded(const Model3DContent& content) {
    return {{"asset", content.assetURL},
            {"rotationY", checked(content.rotationYRadians)},
            {"rotationX", checked(content.rotationXRadians)},
            {"scale", checked(content.scale)},
            {"idleRotate", content.idleRotate}};
}

Json encoded(const Layer& layer) {
    if (static_cast<unsigned>(layer.kind) >= layerKindCount) refuse("a layer is of no known kind");
    Json out{{"id", layer.id},
             {"kind", rawName(layer.kind)},
             {"anchor", name(anchorNames, layer.placement.anchor)},
             {"size", name(sizeClassNames, layer.placement.sizeClass)},
             {"hidden", layer.isHidden},
             {"creator", layer.creatorID}};
    if (const auto& position = layer.placement.position)
        out["position"] = {
            {"x", checked(position->x)}, {"y", checked(position->y)}, {"z", checked(position->z)}};
    match(
        layer.content, [](std::monostate) {},
        [&](const TextContent& content) { out["text"] = content.text; },
        [&](const WindowContent& content) { out["window"] = encoded(content); },
        [&](const DrawingContent& content) { out["drawing"] = encoded(content); },
        [&](const Model3DContent& content) { out["model3d"] = encoded(content); });
    return out;
}

} // namespace

std::string encode(const Manifest& manifest) {
    Json layers = Json::array();
    for (const auto& layer : manifest.layers)
        layers.push_back(encoded(layer));
    const Json out{{"format", "kiva"},
                   {"version", manifestVersion},
                   {"session", manifest.sessionID},
                   {"canvasAspect", checked(manifest.canvasAspect)},
                   {"layers", std::move(layers)}};
    std::string bytes;
    try {
        bytes = out.dump();
    } catch (const Json::exception&) {
        refuse("a text is not UTF-8");
    }
    if (bytes.size() > maxManifestBytes)
        throw ManifestError(ManifestError::Kind::tooLarge, "the manifest is too large");
    return bytes;
}

} // namespace lanternfly
