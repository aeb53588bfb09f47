// PDF files that a test draws for itself.
// Threads: bound.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "support/TemporaryFolder.h"

namespace lanternfly::test {

struct Rgb {
    double red = 1, green = 1, blue = 1;
};

// The upper half of the page in one colour, the lower half in another.
struct DrawnPage {
    double width = 792, height = 612; // points
    Rgb upper{}, lower{};
    std::string text{};
};

void drawPdf(const std::filesystem::path& file, const std::vector<DrawnPage>& pages);

} // namespace lanternfly::test
