#include "annotate/TypeController.h"

#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "annotate/TypedText.h"

namespace lanternfly {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class TypeControllerTest : public testing::Test {
protected:
    TypeControllerTest() {
        controller.setOnTextUpdate([this](const std::string& text) { told.push_back(text); });
    }
    void type(const std::string& text) {
        controller.enterTypeMode();
        controller.appendCharacter(text);
        told.clear();
    }

    TypeController controller{"lyr_typing"};
    std::vector<std::string> told;
};

TEST_F(TypeControllerTest, StartsInactiveAndEmpty) {
    EXPECT_EQ(controller.layerID(), "lyr_typing");
    EXPECT_FALSE(controller.isModeActive());
    EXPECT_FALSE(controller.hasText());
    EXPECT_EQ(controller.text(), "");
}

TEST_F(TypeControllerTest, WhileInactiveNothingIsTyped) {
    controller.appendCharacter("a");
    controller.appendNewline();
    controller.deleteBackward();
    EXPECT_FALSE(controller.hasText());
    type("ab");
    controller.exitTypeMode();
    controller.appendCharacter("c");
    controller.appendNewline();
    controller.deleteBackward();
    EXPECT_EQ(controller.text(), "ab");
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(TypeControllerTest, EveryChangeIsPublished) {
    controller.enterTypeMode();
    EXPECT_TRUE(controller.isModeActive());
    EXPECT_THAT(told, IsEmpty());
    controller.appendCharacter("H");
    controller.appendCharacter("é");
    controller.appendNewline();
    controller.appendCharacter("");
    controller.deleteBackward();
    controller.deleteBackward();
    controller.deleteBackward();
    controller.deleteBackward();
    EXPECT_THAT(told, ElementsAre("H", "Hé", "Hé\n", "Hé", "H", ""));
    EXPECT_FALSE(controller.hasText());
}

TEST_F(TypeControllerTest, LeavingAndEnteringAgainKeepsTheText) {
    type("slides");
    controller.exitTypeMode();
    EXPECT_FALSE(controller.isModeActive());
    controller.enterTypeMode();
    EXPECT_EQ(controller.text(), "slides");
    EXPECT_TRUE(controller.hasText());
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(TypeControllerTest, ClearingPublishesOnceAndOnlyIfThereWasText) {
    controller.clearAll();
    EXPECT_THAT(told, IsEmpty());
    type("text");
    controller.exitTypeMode();
    controller.clearAll();
    controller.clearAll();
    EXPECT_THAT(told, ElementsAre(""));
}

TEST_F(TypeControllerTest, DeletingTakesOneCharacterAsPeopleSeeIt) {
    for (const char* character :
         {"a", "é", "e\u0301", "漢", "\U0001F600" /* grinning face */,
          "\U0001F44D\U0001F3FD" /* thumbs up with a skin tone */,
          "\U0001F468\u200D\U0001F469\u200D\U0001F467" /* family of three */,
          "\U0001F1E6\U0001F1F9" /* the flag of Austria */, "\u2764\uFE0F" /* red heart */, "\r\n",
          "\n", "각", "\u1100\u1161\u11A8" /* the same in three letters */}) {
        TypeController typing("lyr");
        typing.enterTypeMode();
        typing.appendCharacter("x\U0001F600");
        typing.appendCharacter(character);
        typing.deleteBackward();
        EXPECT_EQ(typing.text(), "x\U0001F600") << character;
    }
}

TEST_F(TypeControllerTest, TwoFlagsAreTwoCharacters) {
    type("\U0001F1E6\U0001F1F9\U0001F1EB\U0001F1F7");
    controller.deleteBackward();
    EXPECT_EQ(controller.text(), "\U0001F1E6\U0001F1F9");
}

TEST_F(TypeControllerTest, AnAccentTypedByItselfJoinsTheLetterBefore) {
    type("e");
    controller.appendCharacter("\u0301");
    controller.deleteBackward();
    EXPECT_EQ(controller.text(), "");
}

TEST_F(TypeControllerTest, WhatIsNoUtf8IsTypedAsTheReplacementCharacter) {
    type("a\xFF\xC3");
    EXPECT_EQ(controller.text(), "a\uFFFD\uFFFD");
    controller.deleteBackward();
    controller.deleteBackward();
    EXPECT_EQ(controller.text(), "a");
}

TEST_F(TypeControllerTest, TheSubscriberCanBeReplacedAndMayCallBack) {
    controller.enterTypeMode();
    controller.setOnTextUpdate([this](const std::string& text) {
        told.push_back(controller.text());
        if (text.size() < 3) controller.appendCharacter("!");
    });
    controller.appendCharacter("a");
    EXPECT_THAT(told, ElementsAre("a", "a!", "a!!"));
    controller.setOnTextUpdate(nullptr);
    controller.clearAll();
    EXPECT_EQ(told.size(), 3u);
    EXPECT_EQ(controller.text(), "");
}

TEST(TypedText, RemovingFromAnyBytesEnds) {
    for (std::string text : {std::string("\x80\x80\xF0\x9F\x98", 5), std::string("a\0b", 3),
                             std::string("\xED\xA0\x80"), std::string("\xF4\x90\x80\x80")})
        while (!text.empty()) {
            const size_t before = text.size();
            removeLastCharacter(text);
            ASSERT_LT(text.size(), before);
        }
    std::string empty;
    removeLastCharacter(empty);
    EXPECT_EQ(empty, "");
}

TEST(TypedText, WellFormedTextStaysAsItIs) {
    const std::string text("a\0ü漢\U0001F600", 11);
    EXPECT_EQ(wellFormedUtf8(text), text);
    EXPECT_EQ(wellFormedUtf8(""), "");
    EXPECT_EQ(wellFormedUtf8("\xED\xA0\x80"), "\uFFFD\uFFFD\uFFFD") << "a lone surrogate";
}

} // namespace
} // namespace lanternfly
