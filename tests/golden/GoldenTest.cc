// Every scene against its approved picture. What differs is written to the build folder;
// golden_report shows all scenes on one page and approves what is right.
#include <filesystem>
#include <set>

#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "support/Pictures.h"
#include "support/Png.h"
#include "support/VulkanForTests.h"
#include "support/scenes/GoldenPictures.h"

namespace lanternfly {
namespace {

class GoldenTest : public ::testing::TestWithParam<test::Scene> {};

TEST_P(GoldenTest, LooksAsApproved) {
    const test::Scene& scene = GetParam();
    const auto actual = test::drawn(CpuDevice::create(), scene);
    ASSERT_NE(actual, nullptr);
    const auto approved = test::approvedPicture(scene);
    if (!approved || approved->width() != actual->width() ||
        approved->height() != actual->height()) {
        test::keepForInspection(scene, *actual, nullptr);
        FAIL() << "no approved picture of this size: look at golden_report, then approve it";
    }
    // The compiler and the sine of the dither may move a rounding.
    const auto delta = test::difference(*actual, *approved);
    EXPECT_LE(delta.largest, 1);
    EXPECT_GT(delta.psnr(), 60);
    if (HasFailure()) test::keepForInspection(scene, *actual, approved.get());
}

class VulkanGoldenTest : public test::VulkanTest,
                         public ::testing::WithParamInterface<test::Scene> {};

TEST_P(VulkanGoldenTest, LooksAsApproved) {
    const test::Scene& scene = GetParam();
    const auto actual = test::drawn(test::vulkanDevice(), scene);
    ASSERT_NE(actual, nullptr);
    const auto approved = test::approvedPicture(scene);
    ASSERT_NE(approved, nullptr);
    const auto delta = test::difference(*actual, *approved);
    // A frame of a few pixels has no error to average.
    if (actual->width() > 16) {
        EXPECT_GE(delta.psnr(), 48);
    }
    EXPECT_LE(delta.largest, 6);
    if (HasFailure()) test::keepForInspection(scene, *actual, approved.get());
}

INSTANTIATE_TEST_SUITE_P(Scenes, VulkanGoldenTest, ::testing::ValuesIn(test::scenes()),
                         [](const auto& scene) { return scene.param.name; });
INSTANTIATE_TEST_SUITE_P(Scenes, GoldenTest, ::testing::ValuesIn(test::scenes()),
                         [](const auto& scene) { return scene.param.name; });

TEST(GoldenPictures, EachBelongsToAScene) {
    std::set<std::string> names;
    for (const test::Scene& scene : test::scenes())
        EXPECT_TRUE(names.insert(scene.name).second) << scene.name << " is there twice";
    EXPECT_GE(names.size(), 25u);
    for (const auto& file : std::filesystem::directory_iterator(test::approvedFolder()))
        EXPECT_TRUE(names.count(file.path().stem())) << file.path();
}

} // namespace
} // namespace lanternfly
