#include "gpu/vulkan/DeviceChoice.h"

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

using Kind = VulkanCandidate::Kind;

const std::vector<VulkanCandidate> machine{
    {"llvmpipe (LLVM 15.0.6, 256 bits)", Kind::cpu, true},
    {"Virtio-GPU Venus", Kind::virtualised, true},
    {"Old Card 200", Kind::discrete, false},
    {"Radeon Graphics", Kind::integrated, true},
    {"Radeon Pro", Kind::discrete, true},
    {"GeForce", Kind::discrete, true},
};

TEST(DeviceChoice, PrefersDiscreteThenIntegratedThenVirtualThenCpu) {
    auto rest = machine;
    for (const char* expected : {"Radeon Pro", "GeForce", "Radeon Graphics", "Virtio-GPU Venus",
                                 "llvmpipe (LLVM 15.0.6, 256 bits)"}) {
        const auto index = chooseVulkanDevice(rest, "");
        ASSERT_TRUE(index);
        EXPECT_EQ(rest[*index].name, expected);
        rest.erase(rest.begin() + static_cast<ptrdiff_t>(*index));
    }
    EXPECT_EQ(chooseVulkanDevice(rest, ""), std::nullopt) << "the one that is left is too old";
}

TEST(DeviceChoice, FollowsASelector) {
    EXPECT_EQ(chooseVulkanDevice(machine, "cpu"), 0u);
    EXPECT_EQ(chooseVulkanDevice(machine, "virtual"), 1u);
    EXPECT_EQ(chooseVulkanDevice(machine, "integrated"), 3u);
    EXPECT_EQ(chooseVulkanDevice(machine, "discrete"), 4u);
    EXPECT_EQ(chooseVulkanDevice(machine, "5"), 5u);
    EXPECT_EQ(chooseVulkanDevice(machine, "geforce"), 5u);
    EXPECT_EQ(chooseVulkanDevice(machine, "RADEON"), 4u) << "the better of two of the name";
}

TEST(DeviceChoice, FindsNothingThatDoesNotFitOrCannotBeUsed) {
    EXPECT_EQ(chooseVulkanDevice(machine, "2"), std::nullopt);
    EXPECT_EQ(chooseVulkanDevice(machine, "old card"), std::nullopt);
    EXPECT_EQ(chooseVulkanDevice(machine, "6"), std::nullopt);
    EXPECT_EQ(chooseVulkanDevice(machine, "99999999999999999999999"), std::nullopt);
    EXPECT_EQ(chooseVulkanDevice(machine, "arc"), std::nullopt);
    EXPECT_EQ(chooseVulkanDevice({}, ""), std::nullopt);
}

} // namespace
} // namespace lanternfly
