#include "platform/linux/text/PangoTextPainter.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>

#include <opencv2/imgproc.hpp>
#include <pango/pangocairo.h>

namespace lanternfly {

namespace {

constexpr const char* fontFamily = "Sans";
// The halo: the text's own shape, blurred, made denser and black.
constexpr double haloSigma = 0.11; // of the font's size
constexpr double haloDensity = 1.9;
constexpr double haloOpacity = 0.8;
constexpr double haloReach = 0.4; // of the font's size, beyond which it is clear
constexpr int maxBoxPX = 16384;
// A long text is shortened by this much at a time, so that its lines break anew only now and then.
constexpr size_t shortenedBy = 500;

template <auto release>
struct Release {
    template <typename Held>
    void operator()(Held* held) const {
        release(held);
    }
};
template <typename Held, auto release>
using Owned = std::unique_ptr<Held, Release<release>>;

// The end of the text, without bytes that are not UTF-8.
std::string laidOut(std::string_view text) {
    const Owned<char, g_free> valid(
        g_utf8_make_valid(text.data(), static_cast<gssize>(text.size())));
    const char* begin = valid.get();
    const auto count = static_cast<size_t>(g_utf8_strlen(begin, -1));
    if (count > TextPainter::maxCharacters) {
        const size_t surplus = count - TextPainter::maxCharacters;
        const size_t steps = (surplus + shortenedBy - 1) / shortenedBy;
        begin = g_utf8_offset_to_pointer(begin, static_cast<glong>(steps * shortenedBy));
    }
    return begin;
}

PangoAlignment pango(TextAlignment alignment) {
    switch (alignment) {
    case TextAlignment::start:
        return PANGO_ALIGN_LEFT; // right in a paragraph that runs from right to left
    case TextAlignment::centre:
        return PANGO_ALIGN_CENTER;
    case TextAlignment::end:
        return PANGO_ALIGN_RIGHT;
    }
    return PANGO_ALIGN_LEFT;
}

void clear(PixelBuffer& picture) {
    std::memset(picture.data(), 0, picture.strideBytes() * static_cast<size_t>(picture.height()));
}

// Cairo's premultiplied text over the black halo, as straight alpha.
void compose(const uint8_t* text, const uint8_t* halo, int count, uint8_t* out) {
    for (int i = 0; i < count; ++i, text += 4, out += 4) {
        const double below = std::min(halo[i] * haloDensity, 255.0) * haloOpacity;
        const double alpha = text[3] + below * (255 - text[3]) / 255;
        if (alpha < 0.5) continue;
        for (int channel = 0; channel < 3; ++channel)
            out[channel] = static_cast<uint8_t>(std::min(text[channel] * 255 / alpha, 255.0) + 0.5);
        out[3] = static_cast<uint8_t>(alpha + 0.5);
    }
}

} // namespace

// Where the box is drawn, with room for the halo around it.
struct PangoTextPainter::Canvas {
    Canvas(int widthPX, int heightPX)
        : width(widthPX), height(heightPX),
          surface(cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height)),
          cairo(cairo_create(surface.get())), layout(pango_cairo_create_layout(cairo.get())),
          halo(height, width, CV_8UC1) {}

    const uint8_t* row(int y) const {
        return cairo_image_surface_get_data(surface.get()) +
               static_cast<ptrdiff_t>(cairo_image_surface_get_stride(surface.get())) * y;
    }

    const int width, height;
    const Owned<cairo_surface_t, cairo_surface_destroy> surface;
    const Owned<cairo_t, cairo_destroy> cairo;
    const Owned<PangoLayout, g_object_unref> layout;
    cv::Mat halo;
};

PangoTextPainter::PangoTextPainter() = default;
PangoTextPainter::~PangoTextPainter() = default;

void PangoTextPainter::paint(std::string_view text, const TextBox& box, const TextLook& look,
                             PixelBuffer& picture) {
    clear(picture);
    const std::string shown = laidOut(text);
    if (shown.empty() || box.width < 1 || box.height < 1) return;
    const double fontSize = std::fmin(std::fmax(look.fontSizePX, 4), 512);
    const int margin = static_cast<int>(std::ceil(haloReach * fontSize));
    const int boxWidth = std::min(box.width, maxBoxPX), boxHeight = std::min(box.height, maxBoxPX);
    const int width = boxWidth + 2 * margin, height = boxHeight + 2 * margin;
    if (!_canvas || _canvas->width != width || _canvas->height != height)
        _canvas = std::make_unique<Canvas>(width, height);
    cairo_t* cairo = _canvas->cairo.get();
    PangoLayout* layout = _canvas->layout.get();

    const Owned<PangoFontDescription, pango_font_description_free> font(
        pango_font_description_new());
    pango_font_description_set_family_static(font.get(), fontFamily);
    pango_font_description_set_weight(font.get(), PANGO_WEIGHT_BOLD);
    pango_font_description_set_absolute_size(font.get(), fontSize * PANGO_SCALE);
    pango_layout_set_font_description(layout, font.get());
    pango_layout_set_width(layout, boxWidth * PANGO_SCALE);
    pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
    pango_layout_set_alignment(layout, pango(look.alignment));
    pango_layout_set_text(layout, shown.data(), static_cast<int>(shown.size()));

    cairo_save(cairo);
    cairo_set_operator(cairo, CAIRO_OPERATOR_CLEAR);
    cairo_paint(cairo);
    cairo_restore(cairo);
    cairo_set_source_rgb(cairo, (look.rgb >> 16 & 0xff) / 255.0, (look.rgb >> 8 & 0xff) / 255.0,
                         (look.rgb & 0xff) / 255.0);
    int textHeight = 0;
    pango_layout_get_pixel_size(layout, nullptr, &textHeight);
    const Owned<PangoLayoutIter, pango_layout_iter_free> line(pango_layout_get_iter(layout));
    do {
        PangoRectangle place;
        pango_layout_iter_get_line_extents(line.get(), nullptr, &place);
        const int top = boxHeight - textHeight + PANGO_PIXELS(place.y);
        // At least the last line is seen, however low the box.
        if (top < 0 && !pango_layout_iter_at_last_line(line.get())) continue;
        const int baseline = PANGO_PIXELS(pango_layout_iter_get_baseline(line.get()));
        cairo_move_to(cairo, margin + PANGO_PIXELS(place.x),
                      margin + boxHeight - textHeight + baseline);
        pango_cairo_show_layout_line(cairo, pango_layout_iter_get_line_readonly(line.get()));
    } while (pango_layout_iter_next_line(line.get()));
    cairo_surface_flush(_canvas->surface.get());

    const cv::Mat drawn(
        height, width, CV_8UC4, const_cast<uint8_t*>(_canvas->row(0)),
        static_cast<size_t>(cairo_image_surface_get_stride(_canvas->surface.get())));
    cv::extractChannel(drawn, _canvas->halo, 3);
    const double sigma = haloSigma * fontSize;
    cv::GaussianBlur(_canvas->halo, _canvas->halo, {}, sigma, sigma, cv::BORDER_CONSTANT);

    const int left = std::max(box.x - margin, 0);
    const int right = std::min(box.x - margin + width, picture.width());
    for (int y = 0; y < height; ++y) {
        const int at = box.y - margin + y;
        if (at < 0 || at >= picture.height() || left >= right) continue;
        const int skipped = left - (box.x - margin);
        compose(_canvas->row(y) + ptrdiff_t{4} * skipped, _canvas->halo.ptr(y) + skipped,
                right - left, picture.row(at) + ptrdiff_t{4} * left);
    }
}

} // namespace lanternfly
