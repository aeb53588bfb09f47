#include "platform/PageFit.h"

#include <algorithm>
#include <cmath>

#include "base/PixelBuffer.h"

namespace lanternfly {

namespace {

bool isUsable(double side, double largest) {
    return side > 0 && side <= largest;
}

} // namespace

std::optional<PageFit> fittedPageSize(const PdfPageSize& page, double widthPX, double heightPX) {
    constexpr double largest = PixelBuffer::maxSidePX;
    if (!isUsable(page.width, maxPageSidePoints) || !isUsable(page.height, maxPageSidePoints) ||
        !std::isfinite(widthPX) || !std::isfinite(heightPX) || widthPX <= 0 || heightPX <= 0)
        return std::nullopt;
    const double scale = std::min(widthPX / page.width, heightPX / page.height);
    const double width = std::max(std::round(page.width * scale), 1.0);
    const double height = std::max(std::round(page.height * scale), 1.0);
    if (!isUsable(width, largest) || !isUsable(height, largest) || width * height > maxPagePixels)
        return std::nullopt;
    return PageFit{static_cast<int>(width), static_cast<int>(height)};
}

} // namespace lanternfly
