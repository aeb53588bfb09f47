// How an ink stroke's width and opacity run along its length.
// Threads: value.
#pragma once

#include <limits>

namespace lanternfly {

namespace StrokeGeometry {

struct EnvelopeSample {
    double widthPX = 0;
    double alpha = 0; // 0…1
    friend bool operator==(const EnvelopeSample&, const EnvelopeSample&) = default;
};

// A profile resolved for one stroke. Fractions are of the stroke's arc length, 0…1.
struct BodyEnvelope {
    double baseWidthPX = 0;
    double headOnsetEnd = 0; // the width grows up to here
    double headMinWidthRatio = 0;
    double tailWidthTaperStart = 1; // the width shrinks from here
    double tailAlphaTaperStart = 1; // the ink fades from here, inside the width taper only
    double tailMinWidthRatio = 0;

    EnvelopeSample evaluate(double arcFraction) const;
};

struct InkProfile {
    double featherPX = 3.5; // soft edge outside the core, on each side
    double headOnsetFraction = 0.08;
    double headMinWidthRatio = 0.1875; // of the base width, at the very start
    double tailTaperFraction = 0.2;
    double tailMinWidthRatio = 0.1875; // of the base width, at the very end
    double tailAlphaTaperLengthPX = 12.0;
    double tailAlphaTaperMaxFraction = 0.1;

    static const InkProfile studioDraw;

    // Without a length, or with one that is not positive and finite, the fade takes its largest
    // fraction.
    BodyEnvelope
    bodyEnvelope(double baseWidthPX,
                 double totalArcLengthPX = std::numeric_limits<double>::infinity()) const;

    friend bool operator==(const InkProfile&, const InkProfile&) = default;
};

inline constexpr InkProfile InkProfile::studioDraw{};

} // namespace StrokeGeometry

} // namespace lanternfly
