#include "gpu/Devices.h"

#include <gtest/gtest.h>

#include "gpu/vulkan/PixelBufferImport.h"
#include "support/LogCapture.h"
#include "support/Pictures.h"
#include "support/VulkanForTests.h"

namespace lanternfly {
namespace {

TEST(Devices, TheCpuDeviceIsAlwaysThere) {
    const auto device = chooseDevice("cpu");
    ASSERT_NE(device, nullptr);
    EXPECT_EQ(device->kind(), Device::Kind::cpu);
}

TEST(Devices, ASoftwareVulkanDeviceIsNotTakenUnasked) {
    test::vulkanDevice(); // keeps the driver loaded
    const test::LogCapture log;
    const auto device = chooseDevice("");
    ASSERT_NE(device, nullptr);
    if (device->kind() == Device::Kind::vulkan) {
        EXPECT_FALSE(static_cast<VulkanDevice&>(*device).isSoftware());
    }
}

TEST(Devices, AnUnknownWishIsRefusedWithALogLine) {
    test::vulkanDevice(); // keeps the driver loaded
    const test::LogCapture log;
    EXPECT_EQ(chooseDevice("gpu"), nullptr);
    EXPECT_TRUE(log.contains("no device \"gpu\": cpu, vulkan or vulkan:NAME"));
    EXPECT_EQ(chooseDevice("vulkan:no such card"), nullptr);
    EXPECT_EQ(chooseDevice("vulkanic"), nullptr);
}

class VulkanDeviceTest : public test::VulkanTest {};

TEST_F(VulkanDeviceTest, IsFoundByWishAndByName) {
    const auto any = chooseDevice("vulkan");
    ASSERT_NE(any, nullptr);
    EXPECT_EQ(any->kind(), Device::Kind::vulkan);
    EXPECT_FALSE(any->name().empty());
    const auto named = chooseDevice("vulkan:" + any->name());
    ASSERT_NE(named, nullptr);
    EXPECT_EQ(named->name(), any->name());
}

TEST_F(VulkanDeviceTest, MakesTexturesOfEverySizeAndRefusesOtherFormats) {
    const auto& device = test::vulkanDevice();
    for (const auto& [width, height] : {std::pair(1, 1), std::pair(333, 7), std::pair(2048, 64)}) {
        const auto texture = device->makeTexture(*test::slidePicture(width, height),
                                                 {"lanternfly.test", true, true});
        ASSERT_NE(texture, nullptr);
        EXPECT_EQ(texture->width(), width);
        EXPECT_EQ(texture->height(), height);
        EXPECT_EQ(&texture->device(), device.get());
    }
    EXPECT_EQ(device->makeTexture(*PixelBuffer::create(64, 64, PixelFormat::nv12), {}), nullptr);
}

TEST_F(VulkanDeviceTest, HoldsMoreTexturesThanOneDescriptorPool) {
    const auto& device = test::vulkanDevice();
    const auto picture = test::slidePicture(8, 8);
    std::vector<TextureRef> textures;
    for (int i = 0; i < 200; ++i) {
        textures.push_back(device->makeTexture(*picture, {}));
        ASSERT_NE(textures.back(), nullptr);
    }
}

TEST_F(VulkanDeviceTest, ImportsAPixelBufferOnceAndKeepsItWithTheMemory) {
    const auto context = test::vulkanDevice()->context();
    if (!context->canImportHostMemory()) GTEST_SKIP() << "the device cannot import host memory";
    auto pixels = PixelBuffer::create(64, 64);
    std::weak_ptr<const PixelBufferImport> watched;
    {
        const auto first = PixelBufferImport::of(*pixels, context);
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(PixelBufferImport::of(*pixels, context), first);
        watched = first;
    }
    EXPECT_FALSE(watched.expired());
    pixels = nullptr;
    EXPECT_TRUE(watched.expired());
}

TEST_F(VulkanDeviceTest, CopiesWhereImportIsForbidden) {
    const auto context = test::vulkanDevice(false)->context();
    EXPECT_FALSE(context->canImportHostMemory());
    EXPECT_EQ(PixelBufferImport::of(*PixelBuffer::create(64, 64), context), nullptr);
}

} // namespace
} // namespace lanternfly
