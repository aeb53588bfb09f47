#include "app/control/LineBuffer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lanternfly {
namespace {

using testing::ElementsAre;
using testing::Optional;

std::vector<std::string> linesOf(LineBuffer& buffer) {
    std::vector<std::string> lines;
    while (auto line = buffer.next())
        lines.push_back(*line);
    return lines;
}

TEST(LineBuffer, CutsBytesIntoLinesHoweverTheyCome) {
    LineBuffer buffer;
    for (const char byte : std::string("next-page\r\n\nshow\nhi"))
        buffer.add({&byte, 1});
    EXPECT_THAT(linesOf(buffer), ElementsAre("next-page", "", "show"));
    buffer.add("de\nlock\n");
    EXPECT_THAT(linesOf(buffer), ElementsAre("hide", "lock"));
}

TEST(LineBuffer, TakesTheLongestLineAndNoLonger) {
    const std::string longest(LineBuffer::maxLineBytes, 'x');
    LineBuffer buffer;
    buffer.add(longest);
    EXPECT_FALSE(buffer.isOverfull());
    buffer.add("\n");
    EXPECT_FALSE(buffer.isOverfull());
    EXPECT_THAT(buffer.next(), Optional(longest));

    buffer.add(longest + "x");
    EXPECT_TRUE(buffer.isOverfull());
    buffer.add("\nshow\n");
    EXPECT_TRUE(buffer.isOverfull());
    EXPECT_FALSE(buffer.next());
}

TEST(LineBuffer, ALongTailAfterAWholeLineComesToLightOnceThatIsTaken) {
    LineBuffer buffer;
    buffer.add("show\n" + std::string(LineBuffer::maxLineBytes + 1, 'x'));
    EXPECT_FALSE(buffer.isOverfull());
    EXPECT_THAT(buffer.next(), Optional(std::string("show")));
    EXPECT_TRUE(buffer.isOverfull());
}

} // namespace
} // namespace lanternfly
