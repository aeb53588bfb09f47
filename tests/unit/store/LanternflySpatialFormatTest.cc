#include "store/LanternflySpatialFormat.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lanternfly {
namespace {

using namespace LanternflySpatialFormat;
using testing::ElementsAre;

TEST(LanternflySpatialFormat, TheListsKeepTheirOrder) {
    EXPECT_THAT(acceptedExtensions, ElementsAre("usdz", "usda", "usdc", "usd"));
    EXPECT_THAT(rejectedExtensions, ElementsAre("obj", "fbx", "glb", "gltf", "stl", "dae", "ply"));
    EXPECT_THAT(acceptedUTIs, ElementsAre("com.pixar.universal-scene-description",
                                          "com.pixar.universal-scene-description-mobile"));
}

TEST(LanternflySpatialFormat, FilesAreJudgedByTheirExtension) {
    EXPECT_EQ(verdict("/m/robot.usdc"), Verdict::accepted);
    EXPECT_EQ(verdict("Robot.USDZ"), Verdict::accepted);
    EXPECT_EQ(verdict("robot.gltf"), Verdict::rejected);
    EXPECT_EQ(verdict("robot.usdz.pdf"), Verdict::unknown);
    EXPECT_EQ(verdict("usdz"), Verdict::unknown);
    EXPECT_EQ(verdict("robot."), Verdict::unknown);
    EXPECT_EQ(verdict(""), Verdict::unknown);
}

} // namespace
} // namespace lanternfly
