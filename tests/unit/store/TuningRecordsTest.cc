#include "store/BiasConfig.h"
#include "store/Model3DLightingConfig.h"
#include "store/OpacityConfig.h"
#include "store/SpatialCompositingConfig.h"
#include "store/TiltConfig.h"
#include "store/TrackingConfig.h"
#include "store/VisionOSTuning.h"

#include <vector>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

template <typename Record>
std::vector<float> values(const Record& record) {
    std::vector<float> all;
    forEachField<Record>([&](const auto& field) { all.push_back(record.*field.member); });
    return all;
}

template <typename Record>
std::vector<std::string> names() {
    std::vector<std::string> all;
    forEachField<Record>([&](const auto& field) { all.push_back(field.name); });
    return all;
}

TEST(TuningRecords, BuiltInDefaultsAreTheTables) {
    using F = std::vector<float>;
    EXPECT_EQ(values(TrackingConfig::defaults),
              (F{1.5f, 0.05f, 1.0f, 0.02f, 15.0f, 0.2f, 800.0f, 56.57f, 0.0f, 15.0f, 0.1f, 0.4f,
                 0.4f, 0.15f, 0.15f, 0.1f, 0.3f, 0.35f}));
    EXPECT_EQ(values(TiltConfig::defaults), (F{180, 22, 0.003f, 0.043633226f, 40}));
    EXPECT_EQ(values(OpacityConfig::defaults), (F{1.0f, 0.85f}));
    EXPECT_EQ(values(BiasConfig::defaults), (F{0.08f, 0.85f, 0.06f, 0.85f}));
    EXPECT_EQ(values(VisionOSTuning::defaults),
              (F{0.05f, 0.22f, 0.22f, 0.05f, 0.01f, 0.05f, 0.2f, 0.67f, 0.03f, 0.0f}));
    EXPECT_EQ(values(SpatialCompositingConfig::defaults),
              (F{0.25f, 0, 0, 0.005f, 0.25f, 120, 0.3f}));
    EXPECT_EQ(values(Model3DLightingConfig::defaults),
              (F{100, 650, 3850, 4100, 15000, 16000, 0.1f, 0.2f, 1, -3}));
}

TEST(TuningRecords, DisabledBiasKeepsItsRadiiAndHasNoStrength) {
    EXPECT_EQ(values(BiasConfig::disabled), (std::vector<float>{0.08f, 0, 0.06f, 0}));
}

TEST(TuningRecords, FieldsAreListedInDeclarationOrder) {
    EXPECT_EQ(names<TiltConfig>(), (std::vector<std::string>{"stiffness", "damping", "drive",
                                                             "maxAngleRad", "accelClamp"}));
    EXPECT_EQ(names<TrackingConfig>().front(), "positionFilterMinCutoff");
    EXPECT_EQ(names<TrackingConfig>().back(), "pinchExitRatio");
}

TEST(TuningRecords, EqualityIsOverAllFields) {
    auto tilt = TiltConfig::defaults;
    EXPECT_EQ(tilt, TiltConfig{});
    tilt.accelClamp = 41;
    EXPECT_NE(tilt, TiltConfig::defaults);
}

} // namespace
} // namespace lanternfly
