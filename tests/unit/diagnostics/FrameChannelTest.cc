#include "diagnostics/FrameChannel.h"

#include <string>

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

TEST(FrameChannel, TagsAreMadeOfTheProgramsPrefix) {
    EXPECT_EQ(FrameChannel::sourceStreamTag, std::string(identity::prefix) + ".Lanternfly.Video");
    EXPECT_EQ(FrameChannel::sinkStreamTag, std::string(identity::prefix) + ".Lanternfly.VideoSink");
}

TEST(FrameChannel, ThePixelFormatIsTheFourCharactersBGRA) {
    const uint32_t code = FrameChannel::pixelFormat;
    const char text[] = {static_cast<char>(code >> 24), static_cast<char>(code >> 16),
                         static_cast<char>(code >> 8), static_cast<char>(code), 0};
    EXPECT_STREQ(text, "BGRA");
}

} // namespace
} // namespace lanternfly
