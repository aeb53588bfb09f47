#include "document/Manifest.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "document/BoundedJson.h"
#include "document/ManifestNames.h"

namespace lanternfly {

namespace {

using Json = nlohmann::json;

[[noreturn]] void refuse(const std::string& text) {
    throw ManifestError(ManifestError::Kind::badValue, text);
}

double number(const Json& value) {
    if (!value.is_number()) refuse("a number is missing");
    const auto number = value.get<double>();
    if (!(std::abs(number) <= maxManifestNumber)) refuse("a number is out of range");
    return number;
}

const Json& array(const Json& value) {
    if (!value.is_array()) refuse("a list is missing");
    return value;
}

// One object of the manifest, read by key.
class Object {
public:
    explicit Object(const Json& value) : _value(value) {
        if (!value.is_object()) refuse("an object is missing");
    }

    const Json* find(const char* key) const {
        const auto found = _value.find(key);
        return found == _value.end() ? nullptr : &*found;
    }
    const Json& at(const char* key) const {
        if (const auto* value = find(key)) return *value;
        refuse(std::string("there is no \"") + key + '"');
    }
    std::string text(const char* key) const {
        const auto& value = at(key);
        if (!value.is_string()) refuse(std::string("not a text: \"") + key + '"');
        return value.get<std::string>();
    }
    bool flag(const char* key) const {
        const auto& value = at(key);
        if (!value.is_boolean()) refuse(std::string("neither true nor false: \"") + key + '"');
        return value.get<bool>();
    }
    // 0…INT_MAX.
    int index(const char* key) const {
        const auto& value = at(key);
        // Of JSON's two kinds of integer the unsigned one holds all that are not negative.
        if (!value.is_number_unsigned() ||
            value.get<uint64_t>() > static_cast<uint64_t>(std::numeric_limits<int>::max()))
            refuse(std::string("not an index: \"") + key + '"');
        return value.get<int>();
    }
    double real(const char* key) const { return number(at(key)); }
    template <typename Value, size_t count>
    Value named(const char* key, const std::array<std::string_view, count>& names) const {
        const auto found = std::find(names.begin(), names.end(), text(key));
        if (found == names.end()) refuse(std::string("an unknown name: \"") + key + '"');
        return static_cast<Value>(found - names.begin());
    }

private:
    const Json& _value;
};

Stroke decodedStroke(const Object& in) {
    Stroke stroke{.color = in.text("color"), .width = in.real("width")};
    for (const auto& point : array(in.at("points"))) {
        auto& coordinates = stroke.points.emplace_back();
        for (const auto& coordinate : array(point))
            coordinates.push_back(number(coordinate));
    }
    return stroke;
}

WindowContent::Source decodedSource(const Object& in) {
    if (const auto* value = in.find("deck")) {
        const Object deck(*value);
        return WindowContent::Deck{deck.text("file"), deck.text("identity"), deck.index("page")};
    }
    if (const auto* value = in.find("window")) {
        const Object window(*value);
        return WindowContent::Window{window.text("application"), window.text("title")};
    }
    if (const auto* value = in.find("display"))
        return WindowContent::Display{Object(*value).text("name")};
    return {};
}

DrawingContent decodedDrawing(const Object& in) {
    const Object viewport(in.at("viewport"));
    DrawingContent content{.viewport = {viewport.real("width"), viewport.real("height")}};
    for (const auto& stroke : array(in.at("strokes")))
        content.strokes.push_back(decodedStroke(Object(stroke)));
    return content;
}

Model3DContent decodedModel(const Object& in) {
    return {.assetURL = in.text("asset"),
            .rotationYRadians = in.real("rotationY"),
            .rotationXRadians = in.real("rotationX"),
            .scale = in.real("scale"),
            .idleRotate = in.flag("idleRotate")};
}

LayerContent decodedContent(const Object& layer) {
    if (layer.find("text")) return TextContent{layer.text("text")};
    if (const auto* value = layer.find("window"))
        return WindowContent{decodedSource(Object(*value))};
    if (const auto* value = layer.find("drawing")) return decodedDrawing(Object(*value));
    if (const auto* value = layer.find("model3d")) return decodedModel(Object(*value));
    return {};
}

Placement decodedPlacement(const Object& layer) {
    Placement placement{.anchor = layer.named<Anchor>("anchor", anchorNames),
                        .sizeClass = layer.named<SizeClass>("size", sizeClassNames)};
    if (const auto* value = layer.find("position")) {
        const Object position(*value);
        placement.position = {position.real("x"), position.real("y"), position.real("z")};
    }
    return placement;
}

Layer decodedLayer(const Object& in) {
    const auto kind = layerKind(in.text("kind"));
    if (!kind) refuse("a layer is of no known kind");
    return {.id = in.text("id"),
            .kind = *kind,
            .placement = decodedPlacement(in),
            .isHidden = in.flag("hidden"),
            .creatorID = in.text("creator"),
            .content = decodedContent(in)};
}

Json parsed(std::string_view bytes) {
    if (bytes.size() > maxManifestBytes)
        throw ManifestError(ManifestError::Kind::tooLarge, "the manifest is too large");
    try {
        return parseBounded(bytes);
    } catch (const std::exception& error) {
        throw ManifestError(ManifestError::Kind::notJson, error.what());
    }
}

void checkVersion(const Json& manifest) {
    const auto fail = [](const char* text) {
        throw ManifestError(ManifestError::Kind::unsupportedVersion, text);
    };
    if (!manifest.is_object() || manifest.value("format", Json()) != "kiva")
        fail("this is not a session manifest");
    if (manifest.value("version", Json()) != manifestVersion)
        fail("the manifest was made by another version");
}

} // namespace

Manifest decodeManifest(std::string_view bytes) {
    const Json json = parsed(bytes);
    checkVersion(json);
    const Object in(json);
    Manifest manifest{.sessionID = in.text("session"), .canvasAspect = in.real("canvasAspect")};
    for (const auto& layer : array(in.at("layers")))
        manifest.layers.push_back(decodedLayer(Object(layer)));
    return manifest;
}

} // namespace lanternfly
