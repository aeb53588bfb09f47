#include <set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/CommandError.h"
#include "app/commands/CommandTable.h"
#include "app/commands/KeyName.h"

namespace lanternfly {
namespace {

using namespace command;
using testing::HasSubstr;

std::string refusalOf(std::string_view text) {
    try {
        parseCommand(text);
    } catch (const CommandError& error) {
        return error.what();
    }
    return "";
}

struct Reading {
    const char* text;
    HostCommand command;
};
class CommandTexts : public testing::TestWithParam<Reading> {};

TEST_P(CommandTexts, MeanOneCommandEach) {
    EXPECT_TRUE(parseCommand(GetParam().text) == GetParam().command) << GetParam().text;
}

INSTANTIATE_TEST_SUITE_P(
    All, CommandTexts,
    testing::Values(
        Reading{"next-page", NextPage{}}, Reading{"previous-page", PreviousPage{}},
        Reading{"go-to-page 7", GoToPage{7}}, Reading{"first-page", FirstPage{}},
        Reading{"last-page", LastPage{}}, Reading{"show", SetShown{Switch::on}},
        Reading{"hide", SetShown{Switch::off}}, Reading{"toggle", SetShown{Switch::toggle}},
        Reading{"place-upper-right", PlaceUpperRight{}}, Reading{"place-centre", PlaceCentre{}},
        Reading{"lock", SetLocked{Switch::on}}, Reading{"unlock", SetLocked{Switch::off}},
        Reading{"toggle-lock", SetLocked{Switch::toggle}},
        Reading{"draw", SetDrawing{Switch::toggle}},
        Reading{"draw toggle", SetDrawing{Switch::toggle}},
        Reading{"draw enter", SetDrawing{Switch::on}},
        Reading{"draw leave", SetDrawing{Switch::off}},
        Reading{"ink-colour red", SetInkColour{"#E55B5BE6"}},
        Reading{"ink-colour #102030", SetInkColour{"#102030"}},
        Reading{"ink-colour #10203040", SetInkColour{"#10203040"}},
        Reading{"ink-width 12.5", SetInkWidth{12.5}}, Reading{"keep-ink on", KeepInk{Switch::on}},
        Reading{"keep-ink", KeepInk{Switch::toggle}}, Reading{"clear-ink", ClearInk{}},
        Reading{"type enter", SetTyping{Switch::on}}, Reading{"type leave", SetTyping{Switch::off}},
        Reading{"type-text Hello,  world #1", TypeText{"Hello,  world #1"}},
        Reading{"type-newline", TypeNewline{}}, Reading{"delete-backward", DeleteBackward{}},
        Reading{"clear-text", ClearText{}}, Reading{"swap", Swap{}},
        Reading{"swap off", Swap{FullComposition{}}},
        Reading{"swap fit", Swap{SwapComposition{SwapFillMode::fit}}},
        Reading{"swap fill", Swap{SwapComposition{SwapFillMode::fill}}},
        Reading{"darken 0.25", Darken{0.25f}}, Reading{"darken 1", Darken{1}},
        Reading{"mirror off", SetMirrored{Switch::off}}, Reading{"reset", Reset{}},
        Reading{"save-tuning", SaveTuning{}},
        Reading{"tune tracking.springStiffness 600.5", Tune{"tracking.springStiffness", 600.5f}},
        Reading{"tune model3dLighting.iblEnabled off", Tune{"model3dLighting.iblEnabled", 0}},
        Reading{"tune model3dLighting.iblEnabled on", Tune{"model3dLighting.iblEnabled", 1}},
        Reading{"reset-tuning", ResetTuning{}},
        // Blanks around and between do not matter.
        Reading{"  go-to-page \t 7 \r\n", GoToPage{7}}));

TEST_P(CommandTexts, AreWrittenAsTheyAreRead) {
    EXPECT_TRUE(parseCommand(textOf(GetParam().command)) == GetParam().command)
        << textOf(GetParam().command);
}

TEST(CommandTable, SaysWhatWouldBeRight) {
    const std::pair<const char*, const char*> rows[]{
        {"", "the command is missing"},
        {"nxt-page", "there is no command nxt-page; did you mean next-page?"},
        {"ink-color red", "did you mean ink-colour?"},
        {"place-center", "did you mean place-centre?"},
        {"Hide", "did you mean hide?"},
        {"qqqqqqqq", "lanternfly commands lists them"},
        {"next-page 3", "next-page takes nothing after its name, not 3"},
        {"go-to-page", "go-to-page takes a page number, 1 for the first"},
        {"go-to-page 0", "go-to-page takes a page number, 1 for the first, not 0"},
        {"go-to-page 2x", "not 2x"},
        {"go-to-page 99999999999", "not 99999999999"},
        {"ink-colour E55B5B", "or a colour such as #E55B5B, not E55B5B"},
        {"ink-colour #12", "not #12"},
        {"ink-width 0", "from 0.5 to 500 pixels"},
        {"ink-width nan", "from 0.5 to 500 pixels"},
        {"darken -0.1", "a number from 0, bright, to 1, black, not -0.1"},
        {"darken inf", "not inf"},
        {"draw on", "enter, leave or toggle, not on"},
        {"swap full", "off, fit, fill or toggle"},
        {"tune", "tune takes a field and its value"},
        {"tune bias.centerRadius", "tune takes a field and its value"},
        {"tune bias.centreRadius 1",
         "nothing named bias.centreRadius to tune; did you mean bias.centerRadius?"},
        {"tune bias.centerRadius nan", "tune takes a field and its value"},
        {"tune model3dLighting.iblEnabled 1", "tune takes a field and its value"},
        {"type-text", "type-text takes the text to add"},
    };
    for (const auto& [text, answer] : rows)
        EXPECT_THAT(refusalOf(text), HasSubstr(answer)) << text;
}

TEST(CommandTable, AVeryLongNameIsRefusedLikeAnyOther) {
    EXPECT_THAT(refusalOf(std::string(100'000, 'n')), HasSubstr("lanternfly commands"));
}

TEST(CommandTable, NamesAreOneOfAKindAndKeysAreKeys) {
    std::set<std::string_view> names, keys;
    for (const CommandRow& row : commandTable()) {
        EXPECT_TRUE(names.insert(row.name).second) << row.name;
        EXPECT_FALSE(row.summary.empty());
        EXPECT_FALSE(row.expected.empty());
        if (row.key.empty()) continue;
        EXPECT_TRUE(keys.insert(row.key).second) << row.key;
        EXPECT_EQ(keyName(row.key), row.key);
        // A key gives the name alone.
        EXPECT_TRUE(row.parse("")) << row.name;
    }
}

} // namespace
} // namespace lanternfly
