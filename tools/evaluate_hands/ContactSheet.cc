#include "ContactSheet.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>

#include <cairo.h>

namespace lanternfly {
namespace {

constexpr std::array<std::pair<size_t, size_t>, 21> bones{{
    {0, 1},   {1, 2},   {2, 3},   {3, 4},   {0, 5},   {5, 6},   {6, 7},
    {7, 8},   {5, 9},   {9, 10},  {10, 11}, {11, 12}, {9, 13},  {13, 14},
    {14, 15}, {15, 16}, {13, 17}, {17, 18}, {18, 19}, {19, 20}, {0, 17},
}};

struct Destroy {
    void operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
    void operator()(cairo_t* context) const { cairo_destroy(context); }
};
using Surface = std::unique_ptr<cairo_surface_t, Destroy>;

void drawTruth(cairo_t* cairo, const EvaluatedPicture& seen) {
    cairo_set_source_rgba(cairo, 0.85, 0.85, 0.85, 0.9);
    cairo_set_line_width(cairo, 1);
    for (const TrueHand& hand : seen.truth)
        for (const auto& [a, b] : bones) {
            const double2 from = hand.joints[a] * seen.truthScale;
            const double2 to = hand.joints[b] * seen.truthScale;
            cairo_move_to(cairo, from.x, from.y);
            cairo_line_to(cairo, to.x, to.y);
            cairo_stroke(cairo);
        }
}

void drawHand(cairo_t* cairo, const HandObservation& hand, const PixelBuffer& picture) {
    if (hand.chirality == HandObservation::Chirality::right)
        cairo_set_source_rgb(cairo, 1, 0.6, 0);
    else
        cairo_set_source_rgb(cairo, 0.1, 0.6, 1);
    const auto at = [&](const HandObservation::Point& p) {
        return double2{static_cast<double>(p.x) * picture.width(),
                       (1 - static_cast<double>(p.y)) * picture.height()};
    };
    cairo_set_line_width(cairo, 1.5);
    for (const auto& [a, b] : bones) {
        if (!hand.points[a] || !hand.points[b]) continue;
        cairo_move_to(cairo, at(*hand.points[a]).x, at(*hand.points[a]).y);
        cairo_line_to(cairo, at(*hand.points[b]).x, at(*hand.points[b]).y);
        cairo_stroke(cairo);
    }
    for (const auto& point : hand.points) {
        if (!point) continue;
        cairo_arc(cairo, at(*point).x, at(*point).y, 2.2, 0, 6.2832);
        if (point->confidence < 0.4f)
            cairo_stroke(cairo);
        else
            cairo_fill(cairo);
    }
}

} // namespace

struct ContactSheet::State {
    int columns, rows, widthPX;
    int count = 0;
    int cellHeightPX = 0;
    Surface surface;
};

ContactSheet::ContactSheet(int columns, int rows, int widthPX)
    : _state(new State{.columns = columns, .rows = rows, .widthPX = widthPX, .surface = {}}) {}

ContactSheet::~ContactSheet() = default;

void ContactSheet::add(const EvaluatedPicture& seen) {
    const PixelBuffer& picture = seen.picture;
    if (_state->count == _state->columns * _state->rows) return;
    const double scale = _state->widthPX / static_cast<double>(picture.width());
    if (!_state->surface) {
        _state->cellHeightPX = static_cast<int>(picture.height() * scale);
        _state->surface.reset(cairo_image_surface_create(CAIRO_FORMAT_RGB24,
                                                         _state->columns * _state->widthPX,
                                                         _state->rows * _state->cellHeightPX));
    }
    // Cairo wants to write where it only reads here.
    const Surface source(cairo_image_surface_create_for_data(
        const_cast<unsigned char*>(picture.data()), CAIRO_FORMAT_RGB24, picture.width(),
        picture.height(), static_cast<int>(picture.strideBytes())));
    const std::unique_ptr<cairo_t, Destroy> cairo(cairo_create(_state->surface.get()));
    cairo_translate(cairo.get(), _state->count % _state->columns * _state->widthPX,
                    _state->count / _state->columns * _state->cellHeightPX);
    cairo_scale(cairo.get(), scale, scale);
    cairo_rectangle(cairo.get(), 0, 0, picture.width(), picture.height());
    cairo_clip(cairo.get());
    cairo_set_source_surface(cairo.get(), source.get(), 0, 0);
    cairo_paint(cairo.get());
    drawTruth(cairo.get(), seen);
    for (const HandObservation& hand : seen.hands)
        drawHand(cairo.get(), hand, picture);
    cairo_set_source_rgb(cairo.get(), 1, 1, 0);
    cairo_set_font_size(cairo.get(), 14);
    cairo_move_to(cairo.get(), 4, 14);
    cairo_show_text(cairo.get(), std::to_string(seen.number).c_str());
    ++_state->count;
}

bool ContactSheet::write(const std::filesystem::path& file) const {
    return _state->surface &&
           cairo_surface_write_to_png(_state->surface.get(), file.c_str()) == CAIRO_STATUS_SUCCESS;
}

} // namespace lanternfly
