#include "annotate/InkColor.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lanternfly {
namespace {

constexpr float bodyOpacity = 230 / 255.0f;

TEST(InkColor, ThePaletteIsTheNineColoursInOrder) {
    struct Row {
        InkColor::Case value;
        const char* rawValue;
        const char* hex;
    };
    const Row rows[] = {
        {InkColor::red, "red", "#E55B5BE6"},       {InkColor::orange, "orange", "#E89248E6"},
        {InkColor::yellow, "yellow", "#E3B948E6"}, {InkColor::green, "green", "#5FB57FE6"},
        {InkColor::blue, "blue", "#5C8FCCE6"},     {InkColor::indigo, "indigo", "#7A6FCBE6"},
        {InkColor::violet, "violet", "#A874C6E6"}, {InkColor::white, "white", "#FFFFFFE6"},
        {InkColor::black, "black", "#1A1A1AE6"}};
    ASSERT_EQ(InkColor::palette.size(), std::size(rows));
    for (size_t i = 0; i < std::size(rows); ++i) {
        const InkColor ink = InkColor::palette[i];
        EXPECT_EQ(ink, rows[i].value);
        EXPECT_EQ(ink.rawValue(), rows[i].rawValue);
        EXPECT_EQ(ink.hex(), rows[i].hex);
        EXPECT_EQ(ink.color(), InkColor::color(rows[i].hex));
        EXPECT_EQ(ink.color().a, bodyOpacity);
    }
    EXPECT_EQ(InkColor::defaultHex, InkColor(InkColor::white).hex());
}

TEST(InkColor, ATextOfSixOrEightDigitsIsAColour) {
    EXPECT_EQ(InkColor::color("FFFFFF"), (float4{1, 1, 1, 1}));
    EXPECT_EQ(InkColor::color("#FF000080"), (float4{1, 0, 0, 128 / 255.0f}));
    EXPECT_EQ(InkColor::color("#1a1A1ae6"),
              (float4{26 / 255.0f, 26 / 255.0f, 26 / 255.0f, bodyOpacity}));
    EXPECT_EQ(InkColor::color("00000000"), (float4{0, 0, 0, 0}));
    for (const char* wrong : {"#FFF", "", "#", "##FFFFFF", "#FFFFF", "#FFFFFFF", "#FFFFFFFFF",
                              "#GG0000", "+FF000", "-FF000", "0xFFFF", " FFFFF", "#FFFFF\xC3"})
        EXPECT_EQ(InkColor::color(wrong), std::nullopt) << wrong;
}

TEST(InkColor, AStrokesTextIsMatchedApartFromLetterCase) {
    EXPECT_EQ(InkColor::match("#e55b5be6"), InkColor::red);
    EXPECT_EQ(InkColor::match("#1a1a1AE6"), InkColor::black);
    for (const InkColor ink : InkColor::allCases)
        EXPECT_EQ(InkColor::match(ink.hex()), ink);
    for (const char* other : {"#E55B5B", "E55B5BE6", "#E55B5BE6 ", "", "#E55B5BE7", "red"})
        EXPECT_EQ(InkColor::match(other), std::nullopt) << other;
}

} // namespace
} // namespace lanternfly
