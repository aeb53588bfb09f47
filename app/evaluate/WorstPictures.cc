#include "app/evaluate/WorstPictures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <memory>

#include <cairo.h>
#include <fmt/format.h>

namespace lanternfly {
namespace {

constexpr int columns = 5, cellPX = 320, captionPX = 18;
constexpr int64_t neighbourPictures = 30;
constexpr float sureConfidence = 0.4f;

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
using Context = std::unique_ptr<cairo_t, Destroy>;

void strokeBones(cairo_t* cairo, const LabelledHand& hand, double scale) {
    for (const auto& [a, b] : bones) {
        const double2 from = hand.joints[a] * scale, to = hand.joints[b] * scale;
        if (!std::isfinite(from.x + from.y + to.x + to.y)) continue;
        cairo_move_to(cairo, from.x, from.y);
        cairo_line_to(cairo, to.x, to.y);
        cairo_stroke(cairo);
    }
}

void strokeFaces(cairo_t* cairo, const std::optional<std::vector<LabelledFace>>& faces,
                 double scale) {
    if (!faces) return;
    for (const LabelledFace& face : *faces) {
        cairo_rectangle(cairo, face.low.x * scale, face.low.y * scale, face.size.x * scale,
                        face.size.y * scale);
        cairo_stroke(cairo);
    }
}

void drawHand(cairo_t* cairo, const LabelledHand& hand, double scale) {
    if (hand.isRight.value_or(false))
        cairo_set_source_rgb(cairo, 1, 0.6, 0);
    else
        cairo_set_source_rgb(cairo, 0.1, 0.6, 1);
    cairo_set_line_width(cairo, 1.5);
    strokeBones(cairo, hand, scale);
    for (size_t i = 0; i < handJointCount; ++i) {
        if (!std::isfinite(hand.joints[i].x)) continue;
        cairo_arc(cairo, hand.joints[i].x * scale, hand.joints[i].y * scale, 2.2, 0, 6.2832);
        if (hand.confidences[i] < sureConfidence)
            cairo_stroke(cairo);
        else
            cairo_fill(cairo);
    }
}

// Pictures of a clip are named "NAME NUMBER"; those of one second are neighbours.
std::string neighbourhoodOf(const std::string& name) {
    const size_t space = name.rfind(' ');
    if (space == std::string::npos) return name;
    const int64_t number = std::strtoll(name.c_str() + space, nullptr, 10);
    return fmt::format("{} {}", name.substr(0, space), number / neighbourPictures);
}

PixelBufferRef copyOf(const PixelBuffer& picture) {
    const auto copy = PixelBuffer::create(picture.width(), picture.height());
    if (copy)
        for (int y = 0; y < picture.height(); ++y)
            std::memcpy(copy->row(y), picture.row(y), static_cast<size_t>(picture.width()) * 4);
    return copy;
}

} // namespace

void WorstPictures::offer(const EvaluatedPicture& evaluated) {
    const double value = wrongness(evaluated.scores);
    if (value <= 0 || (_kept.size() == most && value <= _kept.back().wrongness)) return;
    const std::string neighbourhood = neighbourhoodOf(evaluated.name);
    const auto neighbour = std::find_if(_kept.begin(), _kept.end(), [&](const Kept& kept) {
        return kept.neighbourhood == neighbourhood;
    });
    if (neighbour != _kept.end()) {
        if (neighbour->wrongness >= value) return;
        _kept.erase(neighbour);
    } else if (_kept.size() == most) {
        _kept.pop_back();
    }
    const auto place = std::find_if(_kept.begin(), _kept.end(),
                                    [&](const Kept& kept) { return kept.wrongness < value; });
    _kept.insert(place, {.wrongness = value,
                         .name = evaluated.name,
                         .neighbourhood = neighbourhood,
                         .picture = copyOf(evaluated.picture),
                         .found = evaluated.found,
                         .labelled = evaluated.labelled,
                         .scale = evaluated.scale});
}

void WorstPictures::draw(_cairo_surface* sheet, const Kept& kept, int x, int y) {
    const Context context(cairo_create(sheet));
    cairo_t* cairo = context.get();
    cairo_translate(cairo, x, y);
    cairo_set_source_rgb(cairo, 0.85, 0.85, 0.85);
    cairo_set_font_size(cairo, 12);
    cairo_move_to(cairo, 4, cellPX + captionPX - 5);
    cairo_show_text(cairo, fmt::format("{:.1f}  {}", kept.wrongness, kept.name).c_str());
    if (!kept.picture) return;

    PixelBuffer& picture = *kept.picture;
    const double fit = cellPX / static_cast<double>(std::max(picture.width(), picture.height()));
    const Surface source(cairo_image_surface_create_for_data(
        picture.data(), CAIRO_FORMAT_RGB24, picture.width(), picture.height(),
        static_cast<int>(picture.strideBytes())));
    cairo_scale(cairo, fit, fit);
    cairo_rectangle(cairo, 0, 0, picture.width(), picture.height());
    cairo_clip(cairo);
    cairo_set_source_surface(cairo, source.get(), 0, 0);
    cairo_paint(cairo);
    cairo_set_source_rgba(cairo, 0.85, 0.85, 0.85, 0.9);
    cairo_set_line_width(cairo, 1);
    for (const LabelledHand& hand : kept.labelled.hands)
        strokeBones(cairo, hand, kept.scale);
    strokeFaces(cairo, kept.labelled.faces, kept.scale);
    for (const LabelledHand& hand : kept.found.hands)
        drawHand(cairo, hand, kept.scale);
    cairo_set_source_rgb(cairo, 0.3, 0.9, 0.3);
    strokeFaces(cairo, kept.found.faces, kept.scale);
}

bool WorstPictures::write(const std::filesystem::path& file) const {
    const int rows = std::max(1, static_cast<int>(_kept.size() + columns - 1) / columns);
    const Surface sheet(cairo_image_surface_create(CAIRO_FORMAT_RGB24, columns * cellPX,
                                                   rows * (cellPX + captionPX)));
    for (size_t i = 0; i < _kept.size(); ++i)
        draw(sheet.get(), _kept[i], static_cast<int>(i % columns) * cellPX,
             static_cast<int>(i / columns) * (cellPX + captionPX));
    return cairo_surface_write_to_png(sheet.get(), file.c_str()) == CAIRO_STATUS_SUCCESS;
}

} // namespace lanternfly
