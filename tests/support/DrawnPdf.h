// PDF files that a test draws for itself.
// Threads: bound.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

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

// A folder of its own that goes with the test.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::filesystem::path& path() const { return _path; }
    std::filesystem::path write(const std::string& name, const std::string& bytes) const;

private:
    std::filesystem::path _path;
};

} // namespace lanternfly::test
