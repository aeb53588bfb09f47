#include "platform/fake/BlockTextPainter.h"

#include <algorithm>
#include <cstring>
#include <vector>

namespace lanternfly {

namespace {

bool isContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xc0) == 0x80;
}

// How many characters each line holds, broken at the box's width.
std::vector<int> linesOf(std::string_view text, int perLine) {
    std::vector<int> lines{0};
    for (const char byte : text) {
        if (isContinuation(byte)) continue;
        if (byte == '\n' || lines.back() == perLine) lines.push_back(0);
        if (byte != '\n') ++lines.back();
    }
    return lines;
}

} // namespace

void BlockTextPainter::paint(std::string_view text, const TextBox& box, const TextLook& look,
                             PixelBuffer& picture) {
    std::memset(picture.data(), 0, picture.strideBytes() * static_cast<size_t>(picture.height()));
    if (text.empty() || box.width < 1 || box.height < 1) return;
    const int size = static_cast<int>(std::clamp(look.fontSizePX, 4.0, 512.0));
    const auto lines = linesOf(text, std::max(box.width / size, 1));
    const int shown = std::min(static_cast<int>(lines.size()), std::max(box.height / size, 1));
    for (int line = 0; line < shown; ++line) {
        const int bottom = box.y + box.height - line * size;
        const int count = lines[lines.size() - 1 - static_cast<size_t>(line)];
        for (int y = std::max({bottom - size, box.y, 0}); y < std::min(bottom, picture.height());
             ++y)
            for (int x = std::max(box.x, 0);
                 x < std::min({box.x + count * size, box.x + box.width, picture.width()}); ++x) {
                const uint32_t pixel = 0xff000000u | look.rgb;
                std::memcpy(picture.row(y) + ptrdiff_t{4} * x, &pixel, sizeof pixel);
            }
    }
}

} // namespace lanternfly
