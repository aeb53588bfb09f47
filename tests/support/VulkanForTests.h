// The Vulkan device of a test program, with the validation layer on.
// Threads: bound to the main thread.
#pragma once

#include <cstdlib>

#include <gtest/gtest.h>

#include "gpu/vulkan/VulkanDevice.h"

namespace lanternfly::test {

// Renderers of this program keep their pipeline cache out of the user's home.
inline const int isCacheFolderSet = setenv("XDG_CACHE_HOME", LANTERNFLY_BUILD_DIR "/test-cache", 1);

// Null where the machine has none. The device is shared, as loading a driver takes a while.
inline const std::shared_ptr<VulkanDevice>& vulkanDevice(bool allowHostImport = true) {
    // Never destroyed: a driver that is unloaded leaves memory that the leak checker cannot name.
    const auto make = [](bool imports) {
        return new auto(
            VulkanDevice::create({.selector = "", .validate = true, .allowHostImport = imports}));
    };
    static const auto& importing = *make(true);
    static const auto& copying = *make(false);
    return allowHostImport ? importing : copying;
}

// Skips where there is no device; fails when the validation layer has anything to say.
class VulkanTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!vulkanDevice()) GTEST_SKIP() << "this machine has no Vulkan 1.3 device";
        ASSERT_TRUE(vulkanDevice()->instance().isValidating())
            << "the validation layer is not installed";
        _messagesBefore = messages();
    }
    void TearDown() override { EXPECT_EQ(messages() - _messagesBefore, 0); }

private:
    static int messages() {
        int count = 0;
        for (const bool imports : {true, false})
            if (vulkanDevice(imports))
                count += vulkanDevice(imports)->instance().validationMessageCount();
        return count;
    }

    int _messagesBefore = 0;
};

} // namespace lanternfly::test
