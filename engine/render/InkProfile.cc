#include "render/InkProfile.h"

#include <algorithm>
#include <cmath>

namespace lanternfly::StrokeGeometry {

namespace {

double clamped(double fraction) {
    return std::clamp(fraction, 0.0, 1.0);
}

} // namespace

BodyEnvelope InkProfile::bodyEnvelope(double baseWidthPX, double totalArcLengthPX) const {
    double fadeFraction = clamped(tailAlphaTaperMaxFraction);
    if (std::isfinite(totalArcLengthPX) && totalArcLengthPX > 0)
        fadeFraction = clamped(std::min(tailAlphaTaperLengthPX / totalArcLengthPX, fadeFraction));
    return {.baseWidthPX = baseWidthPX,
            .headOnsetEnd = clamped(headOnsetFraction),
            .headMinWidthRatio = clamped(headMinWidthRatio),
            .tailWidthTaperStart = 1 - clamped(tailTaperFraction),
            .tailAlphaTaperStart = 1 - fadeFraction,
            .tailMinWidthRatio = clamped(tailMinWidthRatio)};
}

EnvelopeSample BodyEnvelope::evaluate(double arcFraction) const {
    const double t = clamped(arcFraction);
    if (headOnsetEnd > 0 && t < headOnsetEnd) {
        const double grown = headMinWidthRatio + t / headOnsetEnd * (1 - headMinWidthRatio);
        return {baseWidthPX * grown, 1};
    }
    if (tailWidthTaperStart < 1 && t > tailWidthTaperStart) {
        const double u = (t - tailWidthTaperStart) / (1 - tailWidthTaperStart);
        const bool isFading = tailAlphaTaperStart < t && tailAlphaTaperStart < 1;
        return {baseWidthPX * (1 + u * (tailMinWidthRatio - 1)),
                isFading ? 1 - (t - tailAlphaTaperStart) / (1 - tailAlphaTaperStart) : 1};
    }
    return {baseWidthPX, 1};
}

} // namespace lanternfly::StrokeGeometry
