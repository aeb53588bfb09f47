#include "store/PersistedTuningStore.h"

#include <cmath>
#include <limits>

#include <gtest/gtest.h>

#include "platform/fake/MemoryDefaultsStore.h"
#include "store/Tunings.h"

namespace lanternfly {
namespace {

template <typename Record>
Record loaded(std::string_view stored) {
    MemoryDefaultsStore store;
    store.set(Record::userDefaultsKey, stored);
    return PersistedTuningStore::savedOrDefaults<Record>(store);
}

TEST(PersistedTuningStore, WithNothingStoredTheFallbackComes) {
    MemoryDefaultsStore store;
    const OpacityConfig fallback{.opacityMax = 0.5f, .opacityMin = 0.25f};
    EXPECT_EQ(PersistedTuningStore::load("nothing", fallback, store), fallback);
    EXPECT_EQ(PersistedTuningStore::savedOrDefaults<OpacityConfig>(store), OpacityConfig::defaults);
}

TEST(PersistedTuningStore, RecordsAreStoredUnderTheirKeysInDeclarationOrder) {
    MemoryDefaultsStore store;
    PersistedTuningStore::save(TiltConfig::defaults, TiltConfig::userDefaultsKey, store);
    EXPECT_EQ(store.data("lanternfly.defaults.tilt"),
              R"({"stiffness":180.0,"damping":22.0,"drive":0.003,"maxAngleRad":0.043633226,)"
              R"("accelClamp":40.0})");
    PersistedTuningStore::save(Model3DLightingConfig::defaults,
                               Model3DLightingConfig::userDefaultsKey, store);
    EXPECT_EQ(store.data("lanternfly.defaults.model3dLighting"),
              R"({"keyIntensity":100.0,"sideIntensity":650.0,"bounceIntensity":3850.0,)"
              R"("monitorFillIntensity":4100.0,"masterTargetMin":15000.0,)"
              R"("masterTargetMax":16000.0,"refreshIntervalSeconds":0.1,)"
              R"("temporalSmoothingAlpha":0.2,"iblEnabled":true,"iblIntensityExponent":-3.0})");
}

TEST(PersistedTuningStore, KeysAreTheOnesThatOtherVersionsUse) {
    EXPECT_STREQ(TrackingTuning::userDefaultsKey, "lanternfly.defaults.tracking");
    EXPECT_STREQ(TiltTuning::userDefaultsKey, "lanternfly.defaults.tilt");
    EXPECT_STREQ(OpacityTuning::userDefaultsKey, "lanternfly.defaults.opacity");
    EXPECT_STREQ(BiasTuning::userDefaultsKey, "lanternfly.defaults.bias");
    EXPECT_STREQ(DevTuning::userDefaultsKey, "lanternfly.defaults.glass");
    EXPECT_STREQ(SpatialCompositingTuning::userDefaultsKey,
                 "lanternfly.defaults.spatialCompositing");
    EXPECT_STREQ(Model3DLightingTuning::userDefaultsKey, "lanternfly.defaults.model3dLighting");
}

TEST(PersistedTuningStore, MissingTrackingKeysTakeTheirOwnDefaults) {
    auto expected = TrackingConfig::defaults;
    expected.pinchEnterRatio = 0.25f;
    EXPECT_EQ(loaded<TrackingConfig>(R"({"pinchEnterRatio": 0.25})"), expected);
    EXPECT_EQ(loaded<TrackingConfig>("{}"), TrackingConfig::defaults);
    // A key without a value counts as missing.
    EXPECT_EQ(loaded<TrackingConfig>(R"({"pinchEnterRatio": 0.25, "predictionMs": null})"),
              expected);
}

TEST(PersistedTuningStore, OneMissingTiltKeyRevertsTheWholeRecord) {
    EXPECT_EQ(loaded<TiltConfig>(R"({"stiffness": 1, "damping": 2, "drive": 3, "maxAngleRad": 4})"),
              TiltConfig::defaults);
    EXPECT_EQ(
        loaded<TiltConfig>(
            R"({"stiffness": 1, "damping": 2, "drive": 3, "maxAngleRad": 4, "accelClamp": 5})"),
        (TiltConfig{1, 2, 3, 4, 5}));
}

TEST(PersistedTuningStore, BiasNeedsItsCentreAndHasDefaultsForItsFill) {
    EXPECT_EQ(loaded<BiasConfig>(R"({"centerRadius": 0.5, "centerStrength": 0.25})"),
              (BiasConfig{0.5f, 0.25f, 0.06f, 0.85f}));
    EXPECT_EQ(
        loaded<BiasConfig>(R"({"centerRadius": 0.5, "fillRadius": 0.5, "fillStrength": 0.25})"),
        BiasConfig::defaults);
}

// Whatever key is missing from these, the whole record reverts.
template <typename Record>
void expectEveryKeyIsRequired() {
    Record changed = Record::defaults;
    forEachField<Record>([&](const auto& field) {
        if constexpr (std::is_same_v<std::remove_cvref_t<decltype(changed.*field.member)>, bool>)
            changed.*field.member = !(changed.*field.member);
        else
            changed.*field.member += 1;
    });
    const auto whole = PersistedTuningStore::encoded(changed);
    ASSERT_TRUE(whole);
    EXPECT_EQ(loaded<Record>(*whole), changed);
    forEachField<Record>([&](const auto& field) {
        auto renamed = *whole;
        renamed.replace(renamed.find('"' + std::string(field.name) + '"') + 1, 1, "?");
        EXPECT_EQ(loaded<Record>(renamed), Record::defaults) << field.name;
    });
}

TEST(PersistedTuningStore, EveryKeyOfTheOtherRecordsIsRequired) {
    expectEveryKeyIsRequired<TiltConfig>();
    expectEveryKeyIsRequired<OpacityConfig>();
    expectEveryKeyIsRequired<VisionOSTuning>();
    expectEveryKeyIsRequired<SpatialCompositingConfig>();
    expectEveryKeyIsRequired<Model3DLightingConfig>();
}

TEST(PersistedTuningStore, AValueOfAnotherTypeRefusesTheRecord) {
    EXPECT_EQ(loaded<TrackingConfig>(R"({"predictionMs": "20"})"), TrackingConfig::defaults);
    EXPECT_EQ(loaded<TrackingConfig>(R"({"predictionMs": true})"), TrackingConfig::defaults);
    EXPECT_EQ(loaded<TrackingConfig>(R"({"predictionMs": [20], "pinchExitRatio": 1})"),
              TrackingConfig::defaults);
    EXPECT_EQ(loaded<OpacityConfig>(R"({"opacityMax": null, "opacityMin": 0})"),
              OpacityConfig::defaults);
}

TEST(PersistedTuningStore, UnknownKeysAreIgnored) {
    EXPECT_EQ(loaded<OpacityConfig>(R"({"opacityMax": 0.5, "later": {"a": [1]}, "opacityMin": 0})"),
              (OpacityConfig{0.5f, 0}));
}

TEST(PersistedTuningStore, BytesThatAreNotJsonLoadAsTheFallbackAndStay) {
    for (const char* stored : {"", "not JSON", "{", "[]", "3", "null", "{\"opacityMax\":1e999}",
                               "{\"opacityMax\":NaN,\"opacityMin\":0}", "\xff\xfe{}"}) {
        MemoryDefaultsStore store;
        store.set(OpacityConfig::userDefaultsKey, stored);
        EXPECT_EQ(PersistedTuningStore::savedOrDefaults<OpacityConfig>(store),
                  OpacityConfig::defaults)
            << stored;
        EXPECT_EQ(store.data(OpacityConfig::userDefaultsKey), stored);
    }
}

TEST(PersistedTuningStore, TowersOfBracketsAreRefused) {
    EXPECT_EQ(loaded<OpacityConfig>(std::string(1 << 20, '[')), OpacityConfig::defaults);
}

TEST(PersistedTuningStore, OutOfRangeNumbersAreUsedAsStored) {
    EXPECT_EQ(loaded<OpacityConfig>(R"({"opacityMax": -7e30, "opacityMin": 12345})"),
              (OpacityConfig{-7e30f, 12345.0f}));
}

TEST(PersistedTuningStore, ARecordWithANumberThatJsonLacksIsNotStored) {
    for (const float value : {NAN, INFINITY, -INFINITY}) {
        MemoryDefaultsStore store;
        store.set("key", "earlier");
        PersistedTuningStore::save(OpacityConfig{.opacityMin = value}, "key", store);
        EXPECT_EQ(store.data("key"), "earlier");
    }
}

TEST(PersistedTuningStore, TheExtremesOfSinglePrecisionSurvive) {
    using Limits = std::numeric_limits<float>;
    for (const float value : {Limits::max(), Limits::lowest(), Limits::min(), Limits::denorm_min(),
                              -0.0f, std::nextafter(0.1f, 1.0f), 16777217.0f, 1.0f / 3.0f}) {
        const OpacityConfig config{value, 0};
        const auto bytes = PersistedTuningStore::encoded(config);
        ASSERT_TRUE(bytes);
        EXPECT_EQ(PersistedTuningStore::decoded<OpacityConfig>(*bytes), config) << *bytes;
    }
}

} // namespace
} // namespace lanternfly
