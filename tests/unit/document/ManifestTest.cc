#include "document/Manifest.h"

#include <cmath>

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace lanternfly {
namespace {

using Json = nlohmann::json;
using Kind = ManifestError::Kind;

Manifest everyKindOfContent() {
    Manifest manifest{.sessionID = "lfy_session_1", .canvasAspect = 4.0 / 3.0};
    for (int kind = 0; kind < layerKindCount; ++kind)
        manifest.layers.push_back({.id = "layer " + std::to_string(kind),
                                   .kind = static_cast<LayerKind>(kind),
                                   .creatorID = Layer::localCreatorID});
    auto& layers = manifest.layers;
    layers[0].content = TextContent{"Gr\xC3\xBC\xC3\x9F \"dich\"\n"};
    layers[0].isHidden = true;
    layers[1].placement = Placement::at({.x = -1, .y = 0.125, .z = 1});
    layers[2].placement = {.anchor = Anchor::bottomLeft, .sizeClass = SizeClass::small};
    layers[3].content = WindowContent{};
    layers[4].content = WindowContent{WindowContent::Window{"org.app", "A title"}};
    layers[5].content = WindowContent{WindowContent::Display{"HDMI-1"}};
    layers[6].content = WindowContent{WindowContent::Deck{"file:///a.pdf", "00ff", 41}};
    layers[7].content = DrawingContent{
        .strokes = {{"#E55B5BE6", 6.5, {{0.1, 0.2}, {-1.0, 1e-300}, {}, {3}}}, {"", 0, {}}},
        .viewport = {1920, 1080}};
    layers[8].content = Model3DContent{"file:///m.usdz", 1.5, -0.5, 0.1, true};
    return manifest;
}

Kind refusal(std::string_view bytes) {
    try {
        decodeManifest(bytes);
    } catch (const ManifestError& error) {
        EXPECT_STRNE(error.what(), "");
        return error.kind;
    }
    ADD_FAILURE() << "accepted: " << bytes.substr(0, 200);
    return Kind::notJson;
}

TEST(Manifest, EveryKindOfContentComesBack) {
    const auto manifest = everyKindOfContent();
    EXPECT_EQ(decodeManifest(encode(manifest)), manifest);
    EXPECT_EQ(decodeManifest(encode({})), Manifest{});
}

TEST(Manifest, TheFileIsJsonWithItsVersion) {
    const auto json = Json::parse(encode(everyKindOfContent()));
    EXPECT_EQ(json["format"], "kiva");
    EXPECT_EQ(json["version"], 1);
    EXPECT_EQ(json["layers"][1]["kind"], "lower_third");
    EXPECT_EQ(json["layers"][2]["anchor"], "bottom_left");
}

TEST(Manifest, UnknownKeysAreIgnored) {
    auto json = Json::parse(encode(everyKindOfContent()));
    json["later"] = {1, 2};
    json["layers"][0]["later"] = "x";
    EXPECT_EQ(decodeManifest(json.dump()), everyKindOfContent());
}

TEST(Manifest, OtherFormatsAndVersionsAreToldApartFromDamage) {
    EXPECT_EQ(refusal(""), Kind::notJson);
    EXPECT_EQ(refusal("{"), Kind::notJson);
    EXPECT_EQ(refusal("\xff"), Kind::notJson);
    EXPECT_EQ(refusal(std::string(1 << 16, '[')), Kind::notJson);
    EXPECT_EQ(refusal("[]"), Kind::unsupportedVersion);
    EXPECT_EQ(refusal("{}"), Kind::unsupportedVersion);
    EXPECT_EQ(refusal(R"({"format":"kiva"})"), Kind::unsupportedVersion);
    EXPECT_EQ(refusal(R"({"format":"kiva","version":2})"), Kind::unsupportedVersion);
    EXPECT_EQ(refusal(R"({"format":"kiva","version":"1"})"), Kind::unsupportedVersion);
    EXPECT_EQ(refusal(R"({"format":"kiva","version":1})"), Kind::badValue);
    EXPECT_EQ(refusal(std::string(maxManifestBytes + 1, ' ')), Kind::tooLarge);
}

// Every value of the file in turn is removed, and replaced by values that cannot be right.
void damage(Json& whole, Json& at, int& refused) {
    for (auto item = at.begin(); item != at.end(); ++item) {
        const Json kept = *item;
        for (const Json& wrong : {Json(), Json::array({Json::object()}), Json(-1e300), Json("?")}) {
            *item = wrong;
            try {
                decodeManifest(whole.dump());
            } catch (const ManifestError&) {
                ++refused;
            }
        }
        *item = kept;
        if (item->is_structured()) damage(whole, *item, refused);
    }
}

TEST(Manifest, NoValueOfAnotherTypeDoesHarm) {
    auto json = Json::parse(encode(everyKindOfContent()));
    int refused = 0;
    damage(json, json, refused);
    EXPECT_GT(refused, 300);
}

TEST(Manifest, AFileThatIsCutOffAnywhereIsRefused) {
    const auto bytes = encode(everyKindOfContent());
    for (size_t length = 0; length < bytes.size(); ++length)
        EXPECT_EQ(refusal(std::string_view(bytes).substr(0, length)), Kind::notJson) << length;
}

TEST(Manifest, NumbersThatGeometryCannotUseAreRefusedBothWays) {
    const auto with = [](double x) {
        Manifest manifest;
        manifest.layers.push_back({.placement = {.position = Position{.x = x}}});
        return manifest;
    };
    for (const double x : std::initializer_list<double>{NAN, INFINITY, -INFINITY, 1.1e9, -1e300})
        EXPECT_THROW(encode(with(x)), ManifestError) << x;
    EXPECT_EQ(decodeManifest(encode(with(1e9))), with(1e9));

    auto json = Json::parse(encode(with(0)));
    json["layers"][0]["position"]["x"] = 1e300;
    EXPECT_EQ(refusal(json.dump()), Kind::badValue);
}

TEST(Manifest, PageIndexesAreCountsOfPages) {
    Manifest manifest;
    manifest.layers.push_back(
        {.kind = LayerKind::window, .content = WindowContent{WindowContent::Deck{"", "", -1}}});
    EXPECT_THROW(encode(manifest), ManifestError);
    std::get<WindowContent::Deck>(std::get<WindowContent>(manifest.layers[0].content).source)
        .pageIndex = 7;
    auto json = Json::parse(encode(manifest));
    for (const Json& page : {Json(-1), Json(1.5), Json(2147483648), Json(true), Json("1")}) {
        json["layers"][0]["window"]["deck"]["page"] = page;
        EXPECT_EQ(refusal(json.dump()), Kind::badValue) << page;
    }
}

TEST(Manifest, WhatCannotBeWrittenIsRefused) {
    EXPECT_THROW(encode({.sessionID = "\xff"}), ManifestError);
    Manifest manifest;
    manifest.layers.push_back({.kind = static_cast<LayerKind>(99)});
    EXPECT_THROW(encode(manifest), ManifestError);
    manifest.layers[0] = {.placement = {.anchor = static_cast<Anchor>(-1)}};
    EXPECT_THROW(encode(manifest), ManifestError);
    EXPECT_THROW(encode({.sessionID = std::string(maxManifestBytes, 'x')}), ManifestError);
}

} // namespace
} // namespace lanternfly
