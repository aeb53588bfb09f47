// How a page of any size becomes a picture of whole pixels.
// Threads: safe.
#pragma once

#include <optional>

namespace lanternfly {

// Points (1/72 inch).
struct PdfPageSize {
    double width = 0, height = 0;

    friend bool operator==(const PdfPageSize&, const PdfPageSize&) = default;
};

struct PageFit {
    int widthPX = 0, heightPX = 0;

    friend bool operator==(const PageFit&, const PageFit&) = default;
};

// More pixels than this are refused: 256 MiB of BGRA, over three times an 8K picture.
inline constexpr double maxPagePixels = 64.0 * 1024 * 1024;
// A larger side is refused: 14,400 points are the format's own limit (ISO 32000-1 annex C) and
// drawings go beyond it; this one is 350 metres.
inline constexpr double maxPageSidePoints = 1'000'000;

// The page at scale = min(widthPX / page width, heightPX / page height), each side rounded and at
// least 1. Nothing when a number is not positive and finite, or a limit is passed.
std::optional<PageFit> fittedPageSize(const PdfPageSize& page, double widthPX, double heightPX);

} // namespace lanternfly
