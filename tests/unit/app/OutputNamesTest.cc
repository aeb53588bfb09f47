#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/CommandError.h"
#include "app/cli/OutputNames.h"
#include "support/Shell.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

struct OutputNames : testing::Test {
    test::TemporaryFolder folder;
    std::filesystem::path camera = folder / "camera.mp4";

    OutputNames() { test::setContents(camera, "x"); }

    std::string refusal(const std::filesystem::path& out, const std::filesystem::path& events) {
        try {
            refuseOverwriting({{"--camera", camera}}, {{"--out", out}, {"--events", events}});
        } catch (const CommandError& error) {
            return error.what();
        }
        return {};
    }
};

TEST_F(OutputNames, DifferentFilesPass) {
    EXPECT_EQ(refusal(folder / "out.mp4", folder / "events"), "");
    EXPECT_EQ(refusal(folder / "out.mp4", {}), "");
}

TEST_F(OutputNames, TheInputUnderAnyNameIsRefused) {
    EXPECT_THAT(refusal(camera, {}), testing::HasSubstr("--camera and --out are the same file"));
    EXPECT_NE(refusal(folder / "." / "camera.mp4", {}), "");
    std::filesystem::create_symlink(camera, folder / "link.mp4");
    std::filesystem::create_hard_link(camera, folder / "hard.mp4");
    EXPECT_NE(refusal(folder / "link.mp4", {}), "");
    EXPECT_NE(refusal(folder / "hard.mp4", {}), "");
}

TEST_F(OutputNames, TwoOutputsOfOneNameAreRefused) {
    EXPECT_THAT(refusal(folder / "new.mp4", folder / "new.mp4"),
                testing::HasSubstr("--out and --events"));
}

} // namespace
} // namespace lanternfly
