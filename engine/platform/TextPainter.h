// Port: paints typed text, in any script and with emoji, as a picture to be laid over a frame.
// Threads: bound.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "base/PixelBuffer.h"

namespace lanternfly {

enum class TextAlignment { start, centre, end }; // start: where the text's own script begins

struct TextLook {
    double fontSizePX = 48; // clamped to 4…512
    uint32_t rgb = 0xffffff;
    TextAlignment alignment = TextAlignment::start;
};

// Pixels of the picture; what lies outside of it is cut off.
struct TextBox {
    int x = 0, y = 0, width = 0, height = 0;
};

class TextPainter {
public:
    // More is not laid out: of a longer text only the end is seen, and no box holds that much.
    static constexpr size_t maxCharacters = 4000; // code points

    virtual ~TextPainter() = default;

    // Replaces the whole picture, which must be BGRA: clear, and the text in its box. Lines wrap at
    // the box's sides, words that are longer break; "\n" begins a line. The last line stands at the
    // bottom, so that what was typed last is seen: lines that find no room are left out at the top.
    // What is not UTF-8 is painted as U+FFFD.
    //
    // Unlike other pictures this one is not premultiplied: whoever draws it multiplies by alpha. A
    // clear pixel is black, the colour of the halo that makes the text legible on any ground; the
    // halo may reach beyond the box by up to the font's size.
    virtual void paint(std::string_view text, const TextBox& box, const TextLook& look,
                       PixelBuffer& picture) = 0;
};

} // namespace lanternfly
