// Whatever is written reads back equal.
#include <bit>
#include <cmath>
#include <random>

#include <gtest/gtest.h>

#include "document/Manifest.h"
#include "store/Tunings.h"

namespace lanternfly {
namespace {

class Dice {
public:
    explicit Dice(uint32_t seed) : _engine(seed) {}

    int below(int count) { return std::uniform_int_distribution<int>(0, count - 1)(_engine); }
    bool coin() { return below(2) == 1; }
    // Any finite single-precision number whatever: random bits.
    float anyFloat() {
        while (true) {
            const auto value = std::bit_cast<float>(static_cast<uint32_t>(_engine()));
            if (std::isfinite(value)) return value;
        }
    }
    double number() {
        const double magnitude = std::pow(10.0, below(18) - 9);
        return std::uniform_real_distribution<double>(-1, 1)(_engine) * magnitude;
    }
    std::string text() {
        static constexpr const char* pieces[] = {
            "a", "\"", "\\", "\n", "\x01", "/", "\xC3\xA9", "\xF0\x9F\xA6\x97", " "};
        std::string all;
        for (int n = below(6); n > 0; --n)
            all += pieces[below(std::size(pieces))];
        return all;
    }

private:
    std::mt19937 _engine;
};

void randomize(Dice& dice, float& value) {
    value = dice.anyFloat();
}
void randomize(Dice& dice, bool& value) {
    value = dice.coin();
}

template <typename Record>
class TuningRoundTrip : public testing::Test {};
using Records = testing::Types<TrackingConfig, TiltConfig, OpacityConfig, BiasConfig,
                               VisionOSTuning, SpatialCompositingConfig, Model3DLightingConfig>;
TYPED_TEST_SUITE(TuningRoundTrip, Records);

TYPED_TEST(TuningRoundTrip, AnyRecordOfFiniteNumbersReadsBackEqual) {
    Dice dice(1);
    for (int n = 0; n < 2000; ++n) {
        TypeParam record;
        forEachField<TypeParam>([&](const auto& field) { randomize(dice, record.*field.member); });
        const auto bytes = PersistedTuningStore::encoded(record);
        ASSERT_TRUE(bytes);
        ASSERT_EQ(PersistedTuningStore::decoded<TypeParam>(*bytes), record) << *bytes;
    }
}

WindowContent::Source randomSource(Dice& dice) {
    switch (dice.below(4)) {
    case 0:
        return WindowContent::Deck{dice.text(), dice.text(), dice.below(1 << 30)};
    case 1:
        return WindowContent::Window{dice.text(), dice.text()};
    case 2:
        return WindowContent::Display{dice.text()};
    default:
        return {};
    }
}

DrawingContent randomDrawing(Dice& dice) {
    DrawingContent content{.viewport = {dice.number(), dice.number()}};
    for (int n = dice.below(3); n > 0; --n) {
        Stroke stroke{.color = dice.text(), .width = dice.number()};
        for (int point = dice.below(5); point > 0; --point) {
            auto& coordinates = stroke.points.emplace_back();
            for (int i = dice.below(4); i > 0; --i)
                coordinates.push_back(dice.number());
        }
        content.strokes.push_back(std::move(stroke));
    }
    return content;
}

LayerContent randomContent(Dice& dice) {
    switch (dice.below(5)) {
    case 0:
        return TextContent{dice.text()};
    case 1:
        return WindowContent{randomSource(dice)};
    case 2:
        return randomDrawing(dice);
    case 3:
        return Model3DContent{dice.text(), dice.number(), dice.number(), dice.number(),
                              dice.coin()};
    default:
        return {};
    }
}

Layer randomLayer(Dice& dice) {
    Layer layer{.id = dice.text(),
                .kind = static_cast<LayerKind>(dice.below(layerKindCount)),
                .placement = {.anchor = static_cast<Anchor>(dice.below(anchorCount)),
                              .sizeClass = static_cast<SizeClass>(dice.below(sizeClassCount))},
                .isHidden = dice.coin(),
                .creatorID = dice.text(),
                .content = randomContent(dice)};
    if (dice.coin()) layer.placement.position = {dice.number(), dice.number(), dice.number()};
    return layer;
}

TEST(ManifestRoundTrip, AnyManifestReadsBackEqual) {
    Dice dice(2);
    for (int n = 0; n < 500; ++n) {
        Manifest manifest{.sessionID = dice.text(), .canvasAspect = dice.number()};
        for (int layer = dice.below(5); layer > 0; --layer)
            manifest.layers.push_back(randomLayer(dice));
        const auto bytes = encode(manifest);
        ASSERT_EQ(decodeManifest(bytes), manifest) << bytes;
    }
}

} // namespace
} // namespace lanternfly
