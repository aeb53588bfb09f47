#include "support/DrawnPdf.h"

#include <stdexcept>

#include <cairo-pdf.h>
#include <cairo.h>

namespace lanternfly::test {

void drawPdf(const std::filesystem::path& file, const std::vector<DrawnPage>& pages) {
    cairo_surface_t* surface = cairo_pdf_surface_create(file.c_str(), 1, 1);
    for (const auto& page : pages) {
        cairo_pdf_surface_set_size(surface, page.width, page.height);
        cairo_t* context = cairo_create(surface);
        const auto fill = [&](Rgb colour, double top) {
            cairo_set_source_rgb(context, colour.red, colour.green, colour.blue);
            cairo_rectangle(context, 0, top, page.width, page.height / 2);
            cairo_fill(context);
        };
        fill(page.upper, 0);
        fill(page.lower, page.height / 2);
        if (!page.text.empty()) {
            cairo_set_source_rgb(context, 0, 0, 0);
            cairo_select_font_face(context, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                                   CAIRO_FONT_WEIGHT_NORMAL);
            cairo_set_font_size(context, page.height / 20);
            for (int line = 1; line <= 16; ++line) {
                cairo_move_to(context, page.width / 20, page.height * line / 18);
                cairo_show_text(context, page.text.c_str());
            }
        }
        cairo_show_page(context);
        cairo_destroy(context);
    }
    cairo_surface_finish(surface);
    const auto status = cairo_surface_status(surface);
    cairo_surface_destroy(surface);
    if (status != CAIRO_STATUS_SUCCESS) throw std::runtime_error(cairo_status_to_string(status));
}

} // namespace lanternfly::test
