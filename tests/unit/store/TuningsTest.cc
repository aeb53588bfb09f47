#include "store/Tunings.h"

#include <gtest/gtest.h>

#include "platform/fake/MemoryDefaultsStore.h"

namespace lanternfly {
namespace {

class TuningsTest : public testing::Test {
protected:
    template <typename Tuned>
    void count(Tuned& tuning) {
        tuning.observers.observe([this] { ++told; });
    }
    MemoryDefaultsStore store;
    int told = 0;
};

TEST_F(TuningsTest, TakesEveryPropertyFromTheRecord) {
    const TiltConfig config{1, 2, 3, 4, 5};
    const TiltTuning tuning(config, store);
    EXPECT_EQ(tuning.stiffness, 1);
    EXPECT_EQ(tuning.damping, 2);
    EXPECT_EQ(tuning.drive, 3);
    EXPECT_EQ(tuning.maxAngleRad, 4);
    EXPECT_EQ(tuning.accelClamp, 5);
    EXPECT_EQ(tuning.snapshot(), config);
}

TEST_F(TuningsTest, ADifferentValueTellsObserversWhoReadTheNewOne) {
    TrackingTuning tuning(TrackingConfig::defaults, store);
    float seen = 0;
    tuning.observers.observe([&] { seen = tuning.pinchEnterRatio; });
    tuning.pinchEnterRatio = 0.25f;
    EXPECT_EQ(seen, 0.25f);
    EXPECT_EQ(tuning.snapshot().pinchEnterRatio, 0.25f);
}

TEST_F(TuningsTest, TheSameValueTellsNobody) {
    TrackingTuning tuning(TrackingConfig::defaults, store);
    count(tuning);
    tuning.pinchEnterRatio = 0.3f;
    EXPECT_EQ(told, 0);
    Model3DLightingTuning lighting(Model3DLightingConfig::defaults, store);
    count(lighting);
    lighting.iblEnabled = true;
    EXPECT_EQ(told, 0);
    lighting.iblEnabled = false;
    EXPECT_EQ(told, 1);
}

TEST_F(TuningsTest, ChangesAreNotStoredUntilSaved) {
    OpacityTuning tuning(OpacityConfig::defaults, store);
    tuning.opacityMin = 0.5f;
    EXPECT_EQ(store.data(OpacityTuning::userDefaultsKey), std::nullopt);
    tuning.saveAsDefault();
    EXPECT_EQ(PersistedTuningStore::savedOrDefaults<OpacityConfig>(store),
              (OpacityConfig{1.0f, 0.5f}));
}

TEST_F(TuningsTest, ResetReturnsToTheSavedValues) {
    BiasTuning tuning(BiasConfig::defaults, store);
    tuning.fillRadius = 0.5f;
    tuning.saveAsDefault();
    tuning.fillRadius = 0.75f;
    tuning.centerRadius = 0.125f;
    count(tuning);
    tuning.reset();
    EXPECT_EQ(tuning.fillRadius, 0.5f);
    EXPECT_EQ(tuning.centerRadius, 0.08f);
    EXPECT_EQ(told, 2); // once a field that changed
}

TEST_F(TuningsTest, ResetWithNothingSavedReturnsToTheBuiltInValues) {
    SpatialCompositingTuning tuning(SpatialCompositingConfig::defaults, store);
    tuning.useConservativePercentiles = true;
    tuning.underlayBlurSigma = 3;
    tuning.reset();
    EXPECT_EQ(tuning.snapshot(), SpatialCompositingConfig::defaults);
}

TEST_F(TuningsTest, TheGlassPadFollowsTheShadow) {
    DevTuning tuning(VisionOSTuning{.quadPad = 0.5f, .shadowRadius = 0.125f}, store);
    EXPECT_EQ(tuning.snapshot().quadPad, 0.125f);
    count(tuning);
    tuning.shadowRadius = 0.25f;
    EXPECT_EQ(told, 1);
    EXPECT_EQ(tuning.snapshot().quadPad, 0.25f);
    tuning.saveAsDefault();
    const auto saved = PersistedTuningStore::savedOrDefaults<VisionOSTuning>(store);
    EXPECT_EQ(saved.quadPad, 0.25f);
    EXPECT_EQ(saved.shadowRadius, 0.25f);
}

TEST_F(TuningsTest, AStoredPadOfItsOwnIsNotTakenAndTellsNobody) {
    DevTuning tuning(VisionOSTuning::defaults, store);
    PersistedTuningStore::save(VisionOSTuning{.quadPad = 0.5f}, DevTuning::userDefaultsKey, store);
    count(tuning);
    tuning.reset();
    EXPECT_EQ(told, 0);
    EXPECT_EQ(tuning.snapshot(), VisionOSTuning::defaults);
}

TEST_F(TuningsTest, PropertiesCopyValuesNotOwners) {
    OpacityTuning first(OpacityConfig{1, 0.5f}, store);
    OpacityTuning second(OpacityConfig{1, 0.25f}, store);
    first.opacityMin = second.opacityMin;
    second.opacityMin = 0.75f;
    EXPECT_EQ(first.opacityMin, 0.25f);
}

// Each property must be bound to the field of its own name; count and type with it.
template <typename Tuned, typename... Properties>
void expectOneToOne(size_t count, Properties Tuned::*... properties) {
    EXPECT_EQ(sizeof...(properties), count);
    MemoryDefaultsStore store;
    Tuned tuning(Tuned::Record::defaults, store);
    int changes = 0;
    tuning.observers.observe([&] { ++changes; });
    const auto change = [](auto& property) {
        using Value = typename std::remove_cvref_t<decltype(property)>::Value;
        if constexpr (std::is_same_v<Value, bool>)
            property = !static_cast<bool>(property);
        else
            property = static_cast<float>(property) + 1;
    };
    (change(tuning.*properties), ...);
    // Two properties of one field would change it twice, and leave another as it was.
    EXPECT_EQ(static_cast<size_t>(changes), count);
    const auto after = tuning.snapshot();
    forEachField<typename Tuned::Record>([&](const auto& field) {
        EXPECT_NE(after.*field.member, Tuned::Record::defaults.*field.member) << field.name;
        if constexpr (!std::is_same_v<std::remove_cvref_t<decltype(after.*field.member)>, bool>) {
            EXPECT_FLOAT_EQ(after.*field.member, Tuned::Record::defaults.*field.member + 1);
        }
    });
}

TEST_F(TuningsTest, EveryFieldHasItsProperty) {
    using T = TrackingTuning;
    expectOneToOne(18, &T::positionFilterMinCutoff, &T::positionFilterBeta, &T::sizeFilterMinCutoff,
                   &T::sizeFilterBeta, &T::predictionMs, &T::predictionVelocityFloor,
                   &T::springStiffness, &T::springDamping, &T::pulseMagnitude, &T::pulseDecayRate,
                   &T::releaseEaseSeconds, &T::landmarkFloorThumbTip, &T::landmarkFloorIndexTip,
                   &T::landmarkFloorWrist, &T::landmarkFloorMiddleMCP, &T::engagedFloorRelaxation,
                   &T::pinchEnterRatio, &T::pinchExitRatio);
    using D = DevTuning;
    expectOneToOne(9, &D::cornerRadius, &D::shadowRadius, &D::shadowStrength, &D::rimWidth,
                   &D::rimMin, &D::rimMax, &D::specularHeight, &D::specularIntensity,
                   &D::backdropBlurSigma);
    using S = SpatialCompositingTuning;
    expectOneToOne(7, &S::levelMatchStrength, &S::useConservativePercentiles, &S::sampleSensitivity,
                   &S::lightWrapWidth, &S::lightWrapStrength, &S::underlayBlurSigma,
                   &S::modelEdgeSoftness);
    using L = Model3DLightingTuning;
    expectOneToOne(10, &L::keyIntensity, &L::sideIntensity, &L::bounceIntensity,
                   &L::monitorFillIntensity, &L::masterTargetMin, &L::masterTargetMax,
                   &L::refreshIntervalSeconds, &L::temporalSmoothingAlpha, &L::iblEnabled,
                   &L::iblIntensityExponent);
    using B = BiasTuning;
    expectOneToOne(4, &B::centerRadius, &B::centerStrength, &B::fillRadius, &B::fillStrength);
    using O = OpacityTuning;
    expectOneToOne(2, &O::opacityMax, &O::opacityMin);
}

} // namespace
} // namespace lanternfly
