#include "app/live/PresentSettings.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "support/Environment.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(PresentSettings, ReadsWhatItWrites) {
    const PresentSettings settings{.camera = "usb-Desk",
                                   .outputs = {"pipewire", "file:talk.mkv"},
                                   .isMirrored = true,
                                   .look = WindowLook::dark};
    const auto read = parseSettings(jsonOf(settings));
    EXPECT_EQ(read.settings, settings);
    EXPECT_THAT(read.problems, IsEmpty());
}

TEST(PresentSettings, EveryFieldMayBeMissing) {
    const auto read = parseSettings(R"({"version": 1})");
    EXPECT_EQ(read.settings, PresentSettings{});
    EXPECT_THAT(read.problems, IsEmpty());
}

TEST(PresentSettings, AWrongFieldCostsOnlyItself) {
    const auto read = parseSettings(
        R"({"version": 1, "camera": 3, "output": "x", "mirror": "yes", "look": "dark"})");
    EXPECT_EQ(read.settings, PresentSettings{.look = WindowLook::dark});
    EXPECT_THAT(read.problems, ElementsAre(HasSubstr("\"camera\""), HasSubstr("\"output\""),
                                           HasSubstr("\"mirror\"")));
}

TEST(PresentSettings, AFileThatIsNoneSaysWhy) {
    for (const char* damaged :
         {"", "{", "[]", "{}", R"({"version": 2})", R"({"version": "1"})", "\xff\xfe", "null"}) {
        const auto read = parseSettings(damaged);
        EXPECT_EQ(read.settings, PresentSettings{}) << damaged;
        EXPECT_EQ(read.problems.size(), 1u) << damaged;
    }
}

TEST(PresentSettings, AreKeptInTheUsersFolder) {
    const test::TemporaryFolder folder;
    const test::ScopedVariable config("XDG_CONFIG_HOME", folder.path().string());
    EXPECT_EQ(loadSettings().settings, PresentSettings{});
    EXPECT_THAT(loadSettings().problems, IsEmpty());
    saveSettings({.camera = "demo"});
    EXPECT_EQ(loadSettings().settings.camera, "demo");
    std::ofstream(folder / "lanternfly/present.json") << "{";
    EXPECT_THAT(loadSettings().problems, ElementsAre(HasSubstr("present.json: ")));
}

} // namespace
} // namespace lanternfly
