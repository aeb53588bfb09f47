#include "app/HandSkeletonVideo.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include <cairo.h>

namespace lanternfly {
namespace {

constexpr int leastSidePX = 64;
constexpr int mostSidePX = 3840; // larger says nothing more
struct Colour {
    double red, green, blue;
};
constexpr Colour backdrop{0.16, 0.17, 0.20};
constexpr Colour ofRight{1.00, 0.72, 0.35}, ofLeft{0.45, 0.75, 1.00}, ofUnknown{0.80, 0.80, 0.80};

constexpr std::pair<HandLandmark, HandLandmark> bones[] = {
    {HandLandmark::wrist, HandLandmark::thumbCMC},
    {HandLandmark::thumbCMC, HandLandmark::thumbMP},
    {HandLandmark::thumbMP, HandLandmark::thumbIP},
    {HandLandmark::thumbIP, HandLandmark::thumbTip},
    {HandLandmark::wrist, HandLandmark::indexMCP},
    {HandLandmark::indexMCP, HandLandmark::indexPIP},
    {HandLandmark::indexPIP, HandLandmark::indexDIP},
    {HandLandmark::indexDIP, HandLandmark::indexTip},
    {HandLandmark::indexMCP, HandLandmark::middleMCP},
    {HandLandmark::middleMCP, HandLandmark::middlePIP},
    {HandLandmark::middlePIP, HandLandmark::middleDIP},
    {HandLandmark::middleDIP, HandLandmark::middleTip},
    {HandLandmark::middleMCP, HandLandmark::ringMCP},
    {HandLandmark::ringMCP, HandLandmark::ringPIP},
    {HandLandmark::ringPIP, HandLandmark::ringDIP},
    {HandLandmark::ringDIP, HandLandmark::ringTip},
    {HandLandmark::ringMCP, HandLandmark::pinkyMCP},
    {HandLandmark::wrist, HandLandmark::pinkyMCP},
    {HandLandmark::pinkyMCP, HandLandmark::pinkyPIP},
    {HandLandmark::pinkyPIP, HandLandmark::pinkyDIP},
    {HandLandmark::pinkyDIP, HandLandmark::pinkyTip},
};

const Colour& colourOf(HandPose::Chirality chirality) {
    switch (chirality) {
    case HandPose::Chirality::left:
        return ofLeft;
    case HandPose::Chirality::right:
        return ofRight;
    case HandPose::Chirality::unknown:
        return ofUnknown;
    }
    return ofUnknown;
}

// A cairo context on the picture's own pixels.
class Canvas {
public:
    explicit Canvas(PixelBuffer& picture)
        : _surface(cairo_image_surface_create_for_data(picture.data(), CAIRO_FORMAT_ARGB32,
                                                       picture.width(), picture.height(),
                                                       static_cast<int>(picture.strideBytes()))),
          _context(cairo_create(_surface)) {}
    ~Canvas() {
        cairo_destroy(_context);
        cairo_surface_destroy(_surface);
    }
    Canvas(const Canvas&) = delete;
    Canvas& operator=(const Canvas&) = delete;
    operator cairo_t*() const { return _context; }

private:
    cairo_surface_t* _surface;
    cairo_t* _context;
};

// Even sides of the track's shape within what a video may have.
void fitSize(const PoseTrackHeader& header, VideoInfo& info) {
    const double longest = std::max(header.widthPX, header.heightPX);
    const double scale = std::min(1.0, mostSidePX / longest);
    const auto side = [&](int pixels) {
        return std::max(leastSidePX, static_cast<int>(std::lround(pixels * scale)) / 2 * 2);
    };
    info.width = side(header.widthPX);
    info.height = side(header.heightPX);
    info.displayAspect = static_cast<double>(info.width) / info.height;
}

void drawHand(PixelBuffer& picture, const HandPose& hand) {
    const Canvas canvas(picture);
    const double unit = picture.height() / 360.0;
    const auto at = [&](const HandPose::Point& point) {
        return double2{point.x * picture.width(), (1 - point.y) * picture.height()};
    };
    const Colour& colour = colourOf(hand.chirality);
    const auto paint = [&](float confidence) {
        cairo_set_source_rgba(canvas, colour.red, colour.green, colour.blue,
                              0.25 + 0.75 * confidence);
    };
    cairo_set_line_cap(canvas, CAIRO_LINE_CAP_ROUND);
    cairo_set_line_width(canvas, 2.5 * unit);
    for (const auto& [from, to] : bones) {
        const auto* first = measurablePoint(hand, from);
        const auto* second = measurablePoint(hand, to);
        if (!first || !second) continue;
        paint(std::min(first->confidence, second->confidence));
        cairo_move_to(canvas, at(*first).x, at(*first).y);
        cairo_line_to(canvas, at(*second).x, at(*second).y);
        cairo_stroke(canvas);
    }
    for (const HandLandmark landmark : allHandLandmarks) {
        const auto* point = measurablePoint(hand, landmark);
        if (!point) continue;
        const bool isTip = landmark == HandLandmark::thumbTip || landmark == HandLandmark::indexTip;
        paint(point->confidence);
        cairo_arc(canvas, at(*point).x, at(*point).y, (isTip ? 5 : 3) * unit, 0, 2 * M_PI);
        cairo_fill(canvas);
    }
}

} // namespace

HandSkeletonVideo::HandSkeletonVideo(PoseTrackReader track) : _track(std::move(track)) {
    fitSize(_track.header(), _info);
    constexpr int32_t denominator = 1000; // rates such as 29.97 are kept nearly
    _info.frameRate = {static_cast<int32_t>(std::lround(_track.header().frameRate * denominator)),
                       denominator};
}

std::optional<VideoFrame> HandSkeletonVideo::next() {
    const auto frame = _track.next();
    if (!frame) return std::nullopt;
    auto picture = PixelBuffer::create(_info.width, _info.height);
    if (!picture) throw std::runtime_error("out of memory for the pictures of the hands");
    const Canvas canvas(*picture);
    cairo_set_source_rgb(canvas, backdrop.red, backdrop.green, backdrop.blue);
    cairo_paint(canvas);
    for (const HandPose& hand : frame->poses)
        drawHand(*picture, hand);
    return VideoFrame{std::move(picture), MediaTime::fromNanos(std::llround(frame->seconds * 1e9))};
}

} // namespace lanternfly
