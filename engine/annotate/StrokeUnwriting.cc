#include "annotate/StrokeUnwriting.h"

#include <cmath>

namespace lanternfly {

namespace {

double segmentLengthPX(const Stroke::Point& from, const Stroke::Point& to) {
    if (from.size() < 2 || to.size() < 2) return 0;
    const double x = to[0] - from[0], y = to[1] - from[1];
    return std::sqrt(x * x + y * y);
}

} // namespace

double polylineLengthPX(std::span<const Stroke::Point> points) {
    double length = 0;
    for (size_t i = 0; i + 1 < points.size(); ++i)
        length += segmentLengthPX(points[i], points[i + 1]);
    return length;
}

double UnwriteDuration::seconds(double lengthPX) const {
    const double ratio = referenceLengthPX <= 1 ? lengthPX : lengthPX / referenceLengthPX;
    // In this order a ratio that is not a number becomes 1: what cannot be measured was long.
    const double part = std::fmax(std::fmin(ratio, 1.0), 0.0);
    return minSeconds + part * (maxSeconds - minSeconds);
}

std::vector<Stroke::Point> keptPart(std::span<const Stroke::Point> points, double fraction) {
    if (!(fraction > 0)) return {};
    const auto all = [&] { return std::vector<Stroke::Point>(points.begin(), points.end()); };
    if (fraction >= 1 || points.size() < 2) return all();
    const double total = polylineLengthPX(points);
    if (!(total > 0)) return all();

    const double target = total * fraction;
    std::vector<Stroke::Point> kept{points.front()};
    double running = 0;
    for (size_t i = 0; i + 1 < points.size(); ++i) {
        const Stroke::Point& from = points[i];
        const Stroke::Point& to = points[i + 1];
        const double length = segmentLengthPX(from, to);
        if (running + length > target) {
            // A segment that passes the target has a length, and so both ends have coordinates.
            const double u = (target - running) / length;
            kept.push_back({from[0] + u * (to[0] - from[0]), from[1] + u * (to[1] - from[1])});
            break;
        }
        kept.push_back(to);
        running += length;
    }
    return kept;
}

} // namespace lanternfly
