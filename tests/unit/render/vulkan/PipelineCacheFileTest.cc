#include "render/vulkan/PipelineCacheFile.h"

#include <gtest/gtest.h>

#include "base/FileBytes.h"
#include "render/vulkan/Pipelines.h"
#include "support/TemporaryFolder.h"
#include "support/VulkanForTests.h"

namespace lanternfly {
namespace {

class PipelineCacheFileTest : public test::VulkanTest {
protected:
    test::TemporaryFolder folder;
    const std::filesystem::path path = folder.path() / "below" / "pipelines.bin";
    VulkanContextRef context;

    void SetUp() override {
        VulkanTest::SetUp();
        if (!IsSkipped()) context = test::vulkanDevice()->context();
    }
    size_t cachedBytes(const PipelineCacheFile& cache) const {
        size_t size = 0;
        vkGetPipelineCacheData(context->device(), cache.get(), &size, nullptr);
        return size;
    }
    // Fills the file with what the renderer's pipelines leave.
    size_t writeFile() {
        PipelineCacheFile cache(*context, path);
        const Pipelines pipelines(*context, compileShaders(embeddedShaders()), cache.get());
        cache.save();
        return cachedBytes(cache);
    }
    std::string bytes() const {
        std::string result;
        EXPECT_FALSE(readFile(path, 1u << 26, result));
        return result;
    }
};

TEST_F(PipelineCacheFileTest, IsWrittenIntoANewFolderAndReadBack) {
    const size_t size = writeFile();
    ASSERT_TRUE(std::filesystem::exists(path));
    EXPECT_EQ(bytes().size(), size + 16);
    const PipelineCacheFile again(*context, path);
    EXPECT_EQ(cachedBytes(again), size);
}

TEST_F(PipelineCacheFileTest, IsLeftAloneWhenNothingChanged) {
    writeFile();
    const auto time = std::filesystem::last_write_time(path) - std::chrono::hours(1);
    std::filesystem::last_write_time(path, time);
    PipelineCacheFile again(*context, path);
    again.save();
    EXPECT_EQ(std::filesystem::last_write_time(path), time);
}

TEST_F(PipelineCacheFileTest, IgnoresADamagedFile) {
    writeFile();
    const std::string whole = bytes();
    const PipelineCacheFile empty(*context, std::nullopt);
    std::string flipped = whole;
    flipped.back() = static_cast<char>(flipped.back() ^ 1);
    std::string foreign = whole;
    foreign[0] = 'X';
    for (const std::string& damaged :
         {std::string(), std::string("short"), whole.substr(0, whole.size() / 2), flipped, foreign,
          std::string(4096, '\xff')}) {
        ASSERT_FALSE(writeFileAtomically(path, damaged));
        const PipelineCacheFile cache(*context, path);
        EXPECT_EQ(cachedBytes(cache), cachedBytes(empty));
    }
}

TEST_F(PipelineCacheFileTest, DoesWithoutAFolderThatCannotBeWritten) {
    PipelineCacheFile cache(*context, "/proc/lanternfly/pipelines.bin");
    cache.save();
    EXPECT_GT(cachedBytes(cache), 0u);
}

} // namespace
} // namespace lanternfly
