#include "app/ContactSheet.h"

#include <algorithm>
#include <cmath>

#include <cairo.h>
#include <fmt/format.h>
#include <libyuv.h>

namespace lanternfly {
namespace {

constexpr int gapPX = 8;
constexpr int captionPX = 24;
constexpr double fontPX = 15;

struct DestroyContext {
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using Context = std::unique_ptr<cairo_t, DestroyContext>;

std::string caption(double seconds) {
    const int minutes = static_cast<int>(seconds) / 60;
    return fmt::format("{}:{:05.2f}", minutes, seconds - 60 * minutes);
}

} // namespace

void ContactSheet::DestroySurface::operator()(_cairo_surface* surface) const {
    cairo_surface_destroy(surface);
}

ContactSheet::ContactSheet(int columns, int count, double aspect)
    : _columns(std::min(columns, count)), _count(count),
      _pictureHeightPX(
          std::clamp(static_cast<int>(std::lround(pictureWidthPX / aspect)), 16, 1280)) {
    const int rows = (count + _columns - 1) / _columns;
    _surface.reset(
        cairo_image_surface_create(CAIRO_FORMAT_RGB24, gapPX + _columns * (pictureWidthPX + gapPX),
                                   gapPX + rows * (_pictureHeightPX + captionPX + gapPX)));
    const Context context(cairo_create(_surface.get()));
    cairo_set_source_rgb(context.get(), 0.12, 0.12, 0.13);
    cairo_paint(context.get());
}

void ContactSheet::add(const VideoFrame& frame) {
    if (_added >= _count || cairo_surface_status(_surface.get()) != CAIRO_STATUS_SUCCESS) return;
    const int x = gapPX + _added % _columns * (pictureWidthPX + gapPX);
    const int y = gapPX + _added / _columns * (_pictureHeightPX + captionPX + gapPX);
    ++_added;

    const PixelBuffer& picture = *frame.picture;
    cairo_surface_flush(_surface.get());
    const int stride = cairo_image_surface_get_stride(_surface.get());
    libyuv::ARGBScale(picture.data(), static_cast<int>(picture.strideBytes()), picture.width(),
                      picture.height(),
                      cairo_image_surface_get_data(_surface.get()) + y * stride + x * 4, stride,
                      pictureWidthPX, _pictureHeightPX, libyuv::kFilterBox);
    cairo_surface_mark_dirty(_surface.get());

    const Context context(cairo_create(_surface.get()));
    cairo_select_font_face(context.get(), "DejaVu Sans", CAIRO_FONT_SLANT_NORMAL,
                           CAIRO_FONT_WEIGHT_NORMAL);
    cairo_set_font_size(context.get(), fontPX);
    cairo_set_source_rgb(context.get(), 0.85, 0.85, 0.85);
    cairo_move_to(context.get(), x, y + _pictureHeightPX + captionPX - 7);
    cairo_show_text(context.get(), caption(frame.pts.seconds()).c_str());
}

bool ContactSheet::write(const std::filesystem::path& file) const {
    return cairo_surface_write_to_png(_surface.get(), file.c_str()) == CAIRO_STATUS_SUCCESS;
}

} // namespace lanternfly
