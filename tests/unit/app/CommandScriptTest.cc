#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/CommandError.h"
#include "app/commands/CommandScript.h"

namespace lanternfly {
namespace {

using namespace command;

std::string refusalOf(std::string_view text) {
    try {
        parseScript(text, "talk.script");
    } catch (const CommandError& error) {
        return error.what();
    }
    return "";
}

TEST(CommandScript, IsALineOfTimeAndCommandEach) {
    const auto script = parseScript("# a talk\n"
                                    "0.5 next-page\n"
                                    "\n"
                                    "  2\tink-colour #FF0000\r\n"
                                    "   # later\n"
                                    "3e1 type-text # is a number sign",
                                    "talk.script");
    EXPECT_EQ(script, (std::vector<TimedCommand>{{0.5, NextPage{}, 2},
                                                 {2, SetInkColour{"#FF0000"}, 4},
                                                 {30, TypeText{"# is a number sign"}, 6}}));
}

TEST(CommandScript, IsPlayedInOrderOfTimeAndThenOfLines) {
    const auto script = parseScript("2 hide\n1 show\n2 next-page\n0 reset\n", "s");
    EXPECT_EQ(script, (std::vector<TimedCommand>{{0, Reset{}, 4},
                                                 {1, SetShown{Switch::on}, 2},
                                                 {2, SetShown{Switch::off}, 1},
                                                 {2, NextPage{}, 3}}));
}

TEST(CommandScript, MayBeEmpty) {
    EXPECT_TRUE(parseScript("", "s").empty());
    EXPECT_TRUE(parseScript("\n\n# nothing\n", "s").empty());
}

TEST(CommandScript, ErrorsNameTheLineAndWhatWouldBeRight) {
    const std::pair<const char*, const char*> rows[]{
        {"next-page", "talk.script line 1: next-page is no time: begin with seconds, such as "
                      "2.5 next-page"},
        {"1 show\n-1 hide", "talk.script line 2: -1 is no time"},
        {"nan hide", "nan is no time"},
        {"inf hide", "inf is no time"},
        {"1e9 hide", "1e9 is no time"},
        {"1,5 hide", "1,5 is no time"},
        {"\n\n4", "talk.script line 3: the command is missing"},
        {"4 hid", "talk.script line 1: there is no command hid; did you mean hide?"},
        {"4 go-to-page zero", "talk.script line 1: go-to-page takes a page number"},
    };
    for (const auto& [text, answer] : rows)
        EXPECT_THAT(refusalOf(text), testing::HasSubstr(answer)) << text;
}

} // namespace
} // namespace lanternfly
