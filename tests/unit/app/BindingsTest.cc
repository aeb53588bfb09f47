#include <filesystem>
#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/CommandError.h"
#include "app/commands/BindingsFile.h"
#include "support/Environment.h"
#include "support/Shell.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

using namespace command;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(Bindings, AreReadAsTheyAreWritten) {
    const auto read = parseBindings(jsonOf(Bindings::defaults()));
    EXPECT_THAT(read.problems, IsEmpty());
    EXPECT_TRUE(read.bindings == Bindings::defaults());
}

struct Question {
    const char* key; // null: the peace sign
    HostMode mode;
    std::optional<HostCommand> command;
};
class BuiltInBindings : public testing::TestWithParam<Question> {};

TEST_P(BuiltInBindings, AnswerByMode) {
    const auto& [key, mode, command] = GetParam();
    const Bindings& bindings = Bindings::defaults();
    const HostCommand* found =
        key ? bindings.commandForKey(key, mode) : bindings.commandFor(HandSign::peaceSign, mode);
    ASSERT_EQ(found != nullptr, command.has_value());
    if (found) {
        EXPECT_TRUE(*found == *command);
    }
}

INSTANTIATE_TEST_SUITE_P(
    Table, BuiltInBindings,
    testing::Values(Question{nullptr, HostMode::slide, NextPage{}},
                    Question{nullptr, HostMode::drawing, SetDrawing{Switch::off}},
                    Question{nullptr, HostMode::typing, std::nullopt},
                    Question{nullptr, HostMode::model, NextPage{}},
                    Question{"right", HostMode::slide, NextPage{}},
                    Question{"Right", HostMode::drawing, NextPage{}},
                    Question{"Right", HostMode::typing, std::nullopt},
                    Question{"D", HostMode::slide, SetDrawing{Switch::toggle}},
                    Question{"d", HostMode::typing, std::nullopt},
                    Question{"Esc", HostMode::slide, std::nullopt},
                    Question{"Esc", HostMode::drawing, SetDrawing{Switch::off}},
                    Question{"Esc", HostMode::typing, SetTyping{Switch::off}},
                    Question{"Backspace", HostMode::typing, DeleteBackward{}},
                    Question{"Backspace", HostMode::slide, std::nullopt},
                    Question{"Ctrl+Right", HostMode::slide, std::nullopt},
                    Question{"no key", HostMode::slide, std::nullopt}));

TEST(Bindings, ARowWithAModeGoesBeforeOneWithout) {
    const auto read = parseBindings(R"({"version": 1, "keys": [
        {"key": "F5", "command": "show"},
        {"key": "f5", "mode": "drawing", "command": "hide"}]})");
    EXPECT_THAT(read.problems, IsEmpty());
    EXPECT_TRUE(*read.bindings.commandForKey("F5", HostMode::slide) ==
                HostCommand(SetShown{Switch::on}));
    EXPECT_TRUE(*read.bindings.commandForKey("F5", HostMode::drawing) ==
                HostCommand(SetShown{Switch::off}));
    EXPECT_EQ(read.bindings.commandForKey("F5", HostMode::typing), nullptr);
}

TEST(Bindings, AListThatIsMissingIsTheBuiltInOne) {
    const auto read = parseBindings(R"({"version": 1, "signs": []})");
    EXPECT_THAT(read.problems, IsEmpty());
    EXPECT_THAT(read.bindings.signs, IsEmpty());
    EXPECT_TRUE(read.bindings.keys == Bindings::defaults().keys);
}

TEST(Bindings, ABadRowIsNamedAndSkippedAndTheOthersStay) {
    const auto read = parseBindings(R"({"version": 1,
        "signs": [{"sign": "fist", "command": "show"},
                  {"sign": "peace-sign", "mode": "slide", "command": "previous-page"}],
        "keys": [{"key": "Rihgt", "command": "next-page"},
                 {"key": "A", "command": "nxt-page"},
                 {"command": "show"},
                 {"key": "B", "mode": "flying", "command": "show"},
                 {"key": 5, "command": "show"},
                 "C",
                 {"key": "D", "command": "draw"},
                 {"key": "d", "command": "show"},
                 {"key": "E"}]})");
    ASSERT_EQ(read.bindings.signs.size(), 1u);
    EXPECT_TRUE(read.bindings.signs[0].command == HostCommand(PreviousPage{}));
    ASSERT_EQ(read.bindings.keys.size(), 1u);
    EXPECT_EQ(read.bindings.keys[0].trigger, "D");
    EXPECT_THAT(
        read.problems,
        ElementsAre(HasSubstr("signs, row 1: there is no sign \"fist\"; write \"peace-sign\""),
                    HasSubstr("keys, row 1: there is no key \"Rihgt\"; write a letter"),
                    HasSubstr("keys, row 2: there is no command nxt-page; did you mean next-page?"),
                    HasSubstr("keys, row 3: \"key\" is missing; add \"key\": \"Right\""),
                    HasSubstr("keys, row 4: there is no mode \"flying\""),
                    HasSubstr("keys, row 5: \"key\" must be a text"),
                    HasSubstr("keys, row 6: a row is written in braces"),
                    HasSubstr("keys, row 8: a row above already says"),
                    HasSubstr("keys, row 9: \"command\" is missing")));
}

TEST(Bindings, WhatIsNoSuchFileGivesTheBuiltInOnesAndSaysWhy) {
    const std::pair<const char*, const char*> rows[]{
        {"", "this is no JSON"},
        {"{\"version\": 1", "this is no JSON"},
        {"[]", "the file must be one object"},
        {"{}", "\"version\" is missing; add \"version\": 1"},
        {"{\"version\": 2}", "version 2 is not known; this program reads version 1"},
        {"{\"version\": \"1\"}", "version \"1\" is not known"},
    };
    for (const auto& [json, why] : rows) {
        const auto read = parseBindings(json);
        EXPECT_TRUE(read.bindings == Bindings::defaults()) << json;
        EXPECT_THAT(read.problems, ElementsAre(HasSubstr(why))) << json;
        EXPECT_THAT(read.problems, ElementsAre(HasSubstr("the built-in bindings are used")));
    }
    const auto read = parseBindings(R"({"version": 1, "keys": {}})");
    EXPECT_TRUE(read.bindings == Bindings::defaults());
    EXPECT_THAT(read.problems, ElementsAre(HasSubstr("\"keys\" must be a list")));
}

struct BindingsFile : testing::Test {
    test::TemporaryFolder home;
    test::ScopedVariable config{"XDG_CONFIG_HOME", home.path().string()};

    void write(const std::filesystem::path& file, const std::string& text) {
        std::filesystem::create_directories(file.parent_path());
        std::ofstream(file) << text;
    }
};

TEST_F(BindingsFile, IsTheUsersOwnUnlessAnotherIsGiven) {
    EXPECT_EQ(userBindingsFile(), home / "lanternfly/bindings.json");
    EXPECT_TRUE(loadBindings({}).bindings == Bindings::defaults());
    write(*userBindingsFile(), R"({"version": 1, "signs": [], "keys": []})");
    EXPECT_TRUE(loadBindings({}).bindings == Bindings{});
    write(home / "other.json", R"({"version": 1, "keys": []})");
    EXPECT_EQ(loadBindings(home / "other.json").bindings.signs.size(), 3u);
}

TEST_F(BindingsFile, ProblemsNameTheFile) {
    write(*userBindingsFile(), "not JSON");
    EXPECT_THAT(loadBindings({}).problems, ElementsAre(HasSubstr("bindings.json: this is no")));
}

TEST_F(BindingsFile, AGivenFileMustBeThere) {
    EXPECT_THROW(loadBindings(home / "missing.json"), CommandError);
    EXPECT_THROW(loadBindings(home.path()), CommandError);
}

TEST_F(BindingsFile, OfTheUserThatCannotBeReadIsToldAndNotFatal) {
    std::filesystem::create_directories(*userBindingsFile());
    const auto read = loadBindings({});
    EXPECT_TRUE(read.bindings == Bindings::defaults());
    EXPECT_THAT(read.problems, ElementsAre(HasSubstr("the built-in bindings are used")));
}

TEST_F(BindingsFile, DefaultsAreWrittenOnceAndNeverOverAFile) {
    const auto file = *userBindingsFile();
    writeDefaultBindings(file);
    EXPECT_TRUE(loadBindings({}).bindings == Bindings::defaults());
    write(file, "mine");
    EXPECT_THROW(writeDefaultBindings(file), CommandError);
    EXPECT_EQ(test::contents(file), "mine");
    EXPECT_THROW(writeDefaultBindings("/proc/bindings.json"), CommandError);
}

} // namespace
} // namespace lanternfly
