#include "app/sinks/OutputChoice.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/CommandError.h"
#include "app/sinks/OpenOutputs.h"
#include "support/TemporaryFolder.h"

namespace lanternfly::test {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

std::string failureOf(const std::vector<std::string>& texts) {
    try {
        parseOutputs(texts);
    } catch (const CommandError& error) {
        return error.what();
    }
    return "taken";
}

TEST(OutputChoiceTest, ReadsListsAndSingleOnes) {
    EXPECT_THAT(parseOutputs({}), IsEmpty());
    EXPECT_THAT(parseOutputs({"none"}), IsEmpty());
    EXPECT_THAT(
        parseOutputs({"pipewire,v4l2:/dev/video9,file:talk.mkv"}),
        ElementsAre(PipeWireOutput{}, LoopbackOutput{"/dev/video9"}, FileOutput{"talk.mkv"}));
    EXPECT_THAT(parseOutputs({"v4l2", "file:/a b/c.mp4", "talk.mkv"}),
                ElementsAre(LoopbackOutput{}, FileOutput{"/a b/c.mp4"}, FileOutput{"talk.mkv"}));
}

TEST(OutputChoiceTest, SaysWhatIsNoOutput) {
    for (const char* text :
         {"", ",", "pipewire,", "screen", "v4l2:", "Pipewire", "pipe wire", "none,pipewire"})
        EXPECT_THAT(failureOf({text}), HasSubstr("there are pipewire, v4l2")) << text;
    for (const char* text : {"file:", "file:talk", "file:talk.avi"})
        EXPECT_THAT(failureOf({text}), HasSubstr(".mkv or an .mp4")) << text;
}

TEST(OutputChoiceTest, TheSameTwiceIsAMistake) {
    EXPECT_THAT(failureOf({"pipewire,pipewire"}), HasSubstr("twice"));
    EXPECT_THAT(failureOf({"talk.mkv", "file:talk.mkv"}), HasSubstr("twice"));
    EXPECT_EQ(failureOf({"a.mkv,b.mkv"}), "taken");
}

TEST(OpenOutputsTest, OpensInOrder) {
    const TemporaryFolder folder;
    const auto sinks = openOutputs({FileOutput{folder / "a.mkv"}, FileOutput{folder / "b.mp4"}},
                                   {.width = 320, .height = 180, .hasSound = false});
    ASSERT_EQ(sinks.size(), 2u);
    EXPECT_EQ(sinks[0]->name(), "a.mkv");
    EXPECT_EQ(sinks[1]->name(), "b.mp4");
}

TEST(OpenOutputsTest, SaysWhyOneCannotBeOpened) {
    const TemporaryFolder folder;
    try {
        openOutputs({FileOutput{folder / "missing" / "a.mkv"}},
                    {.width = 320, .height = 180, .hasSound = false});
        ADD_FAILURE() << "opened";
    } catch (const CommandError& error) {
        EXPECT_THAT(error.what(), HasSubstr("cannot write"));
    }
    try {
        openOutputs({LoopbackOutput{folder / "video0"}});
        ADD_FAILURE() << "opened";
    } catch (const CommandError& error) {
        EXPECT_THAT(error.what(), HasSubstr("modprobe v4l2loopback"));
    }
}

} // namespace
} // namespace lanternfly::test
