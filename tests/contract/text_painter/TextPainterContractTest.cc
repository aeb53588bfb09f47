// What every text painter promises, asked of the one with blocks and of the real one. Which shapes
// a font has is left open.
#include <algorithm>
#include <cstring>
#include <functional>
#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "platform/fake/BlockTextPainter.h"
#include "platform/linux/text/PangoTextPainter.h"

namespace lanternfly::test {
namespace {

struct TextPainterCase {
    const char* name;
    std::function<std::unique_ptr<TextPainter>()> make;
};

void PrintTo(const TextPainterCase& painter, std::ostream* out) {
    *out << painter.name;
}

struct Bounds {
    int x0 = 1 << 20, y0 = 1 << 20, x1 = 0, y1 = 0;
    bool isEmpty() const { return x0 >= x1; }
    friend bool operator==(const Bounds&, const Bounds&) = default;
};

// Of what is at least half opaque: the letters, not the rim of their halo.
Bounds boundsOf(const PixelBuffer& picture, int leastAlpha = 230) {
    Bounds bounds;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            if (picture.row(y)[4 * x + 3] >= leastAlpha)
                bounds = {std::min(bounds.x0, x), std::min(bounds.y0, y),
                          std::max(bounds.x1, x + 1), std::max(bounds.y1, y + 1)};
    return bounds;
}

class TextPainterContract : public testing::TestWithParam<TextPainterCase> {
protected:
    static constexpr TextBox box{60, 50, 300, 200};
    static constexpr TextLook look{.fontSizePX = 24, .rgb = 0xffffff};

    PixelBufferRef painted(std::string_view text, const TextBox& in = box,
                           const TextLook& as = look) {
        auto picture = PixelBuffer::create(480, 320);
        std::memset(picture->data(), 0x77, picture->strideBytes() * 320); // is replaced
        painter->paint(text, in, as, *picture);
        return picture;
    }
    static void expectInside(const Bounds& bounds, const TextBox& in) {
        EXPECT_GE(bounds.x0, in.x - look.fontSizePX);
        EXPECT_GE(bounds.y0, in.y - look.fontSizePX);
        EXPECT_LE(bounds.x1, in.x + in.width + look.fontSizePX);
        EXPECT_LE(bounds.y1, in.y + in.height + look.fontSizePX);
    }
    static bool isSame(const PixelBuffer& a, const PixelBuffer& b) {
        for (int y = 0; y < a.height(); ++y)
            if (std::memcmp(a.row(y), b.row(y), static_cast<size_t>(a.width()) * 4) != 0)
                return false;
        return true;
    }

    std::unique_ptr<TextPainter> painter = GetParam().make();
};

TEST_P(TextPainterContract, NothingIsClear) {
    EXPECT_TRUE(boundsOf(*painted(""), 1).isEmpty());
    painted("something");
    EXPECT_TRUE(boundsOf(*painted(""), 1).isEmpty()) << "also after a text";
    EXPECT_TRUE(boundsOf(*painted("text", {60, 50, 0, 200}), 1).isEmpty()) << "no box";
}

TEST_P(TextPainterContract, TextStandsAtTheBottomOfItsBox) {
    for (const char* text : {"Hello", "שלום", "مرحبا", "e\u0301o\u0308n\u0303",
                             "😀👩‍👩‍👧‍👦🇩🇪"}) {
        SCOPED_TRACE(text);
        const auto picture = painted(text);
        const Bounds letters = boundsOf(*picture);
        ASSERT_FALSE(letters.isEmpty());
        expectInside(boundsOf(*picture, 1), box);
        EXPECT_GT(letters.y0, box.y + box.height - 2.5 * look.fontSizePX);
        EXPECT_GT(letters.y1, box.y + box.height - look.fontSizePX);
    }
}

TEST_P(TextPainterContract, LinesGrowUpwardAndTheLastStays) {
    const Bounds one = boundsOf(*painted("HHH")), two = boundsOf(*painted("HHH\nHHH"));
    EXPECT_EQ(two.y1, one.y1);
    EXPECT_LT(two.y0, one.y0 - look.fontSizePX / 2);
    const Bounds ended = boundsOf(*painted("HHH\n"));
    EXPECT_LT(ended.y1, one.y1 - look.fontSizePX / 2) << "an empty last line";
}

TEST_P(TextPainterContract, LongTextWrapsAndItsEndIsSeen) {
    std::string words, word;
    for (int i = 0; i < 10000; ++i) {
        words += i % 6 == 5 ? " " : "H";
        word += "H";
    }
    for (const std::string& text : {words, word, std::string(10000, '\n') + "H"}) {
        const auto picture = painted(text);
        expectInside(boundsOf(*picture, 1), box);
        EXPECT_GT(boundsOf(*picture).y1, box.y + box.height - look.fontSizePX);
    }
    const Bounds full = boundsOf(*painted(words));
    EXPECT_LT(full.y0, box.y + 2 * look.fontSizePX) << "the box is filled";
    EXPECT_GT(full.x1 - full.x0, box.width / 2);
}

TEST_P(TextPainterContract, AnythingMayBeInTheText) {
    for (const std::string& text :
         {std::string("\xff\xfe broken \xc3"), std::string("\0nul\0", 5),
          std::string("\xed\xa0\x80"), std::string("\u202e\u2066\u200f\t\r\n\u2028x"),
          std::string(500, '\xcc')}) {
        expectInside(boundsOf(*painted(text), 1), box);
    }
}

TEST_P(TextPainterContract, BoxesAndSizesMayBeAnything) {
    for (const TextBox& in :
         {TextBox{-100, -100, 200, 200}, TextBox{400, 300, 500, 500}, TextBox{10, 10, 1, 1},
          TextBox{5000, 0, 10, 10}, TextBox{0, 0, -5, 20}})
        for (const double size : {0.0, -3.0, 24.0, 1e9})
            painted("Text with words", in, {.fontSizePX = size});
}

TEST_P(TextPainterContract, ColourIsAsAskedAndNotPremultiplied) {
    const auto picture = painted("HHHH", box, {.fontSizePX = 40, .rgb = 0x2040c0});
    bool hasSolid = false;
    for (int y = 0; y < picture->height(); ++y)
        for (int x = 0; x < picture->width(); ++x) {
            const uint8_t* pixel = picture->row(y) + 4 * x;
            hasSolid |= pixel[0] == 0xc0 && pixel[1] == 0x40 && pixel[2] == 0x20 && pixel[3] == 255;
            // Between the ink and the black halo, never brighter.
            ASSERT_LE(pixel[0], 0xc0 + 1);
            ASSERT_LE(pixel[2], 0x20 + 1);
        }
    EXPECT_TRUE(hasSolid);
}

TEST_P(TextPainterContract, TheSameTextGivesTheSamePicture) {
    const auto first = painted("Same");
    painted("Another\none");
    painted("and in another box", {0, 0, 100, 100});
    EXPECT_TRUE(isSame(*first, *painted("Same")));
    EXPECT_FALSE(isSame(*first, *painted("Sames")));
}

INSTANTIATE_TEST_SUITE_P(
    All, TextPainterContract,
    testing::Values(TextPainterCase{"Block", [] { return std::make_unique<BlockTextPainter>(); }},
                    TextPainterCase{"Pango", [] { return std::make_unique<PangoTextPainter>(); }}),
    [](const auto& entry) { return entry.param.name; });

} // namespace
} // namespace lanternfly::test
