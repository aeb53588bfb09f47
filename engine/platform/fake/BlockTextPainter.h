// Paints every character as a solid block, so that tests need no fonts.
// Threads: bound.
#pragma once

#include "platform/TextPainter.h"

namespace lanternfly {

class BlockTextPainter final : public TextPainter {
public:
    void paint(std::string_view text, const TextBox& box, const TextLook& look,
               PixelBuffer& picture) override;
};

} // namespace lanternfly
