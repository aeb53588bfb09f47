// Text by Pango, drawn with Cairo: the system's fonts, shaping and both directions of writing.
// Threads: bound.
#pragma once

#include <memory>

#include "platform/TextPainter.h"

namespace lanternfly {

class PangoTextPainter final : public TextPainter {
public:
    PangoTextPainter();
    ~PangoTextPainter() override;

    void paint(std::string_view text, const TextBox& box, const TextLook& look,
               PixelBuffer& picture) override;

private:
    struct Canvas;
    std::unique_ptr<Canvas> _canvas; // reused while the size of the box stays
};

} // namespace lanternfly
