#include "platform/PdfDocument.h"

#include <cstdint>

#include <fmt/format.h>

namespace lanternfly {

namespace {

std::string sentence(PdfError::Kind kind, const std::string& subject) {
    switch (kind) {
    case PdfError::Kind::notFound:
        return subject + " cannot be read. Check that the file is there and that you may open it.";
    case PdfError::Kind::empty:
        return subject + " is empty. Export or copy it again.";
    case PdfError::Kind::notAPdf:
        return subject + " is not a PDF. Choose a PDF file, or export your slides as PDF.";
    case PdfError::Kind::damaged:
        return subject + " is damaged and cannot be repaired. Export or copy it again.";
    case PdfError::Kind::encrypted:
        return subject + " is protected by a password. Save a copy without one and open that.";
    case PdfError::Kind::noPages:
        return subject + " has no pages. Export it again with at least one slide.";
    case PdfError::Kind::rendererFailed:
        return subject + " could not be drawn because the PDF helper stopped. Try again; if it "
                         "stops each time, print the slides to a new PDF.";
    case PdfError::Kind::rendererTimeout:
        return subject + " took too long to draw. Print the slides to a new PDF, or use smaller "
                         "pictures in it.";
    case PdfError::Kind::noSuchPage:
        return subject + " does not exist.";
    case PdfError::Kind::pageRefused:
        return subject + " has a size that cannot be drawn. Give it a usual page size and export "
                         "it again.";
    }
    return subject;
}

std::string named(const std::filesystem::path& file) {
    return fmt::format("\"{}\"", file.filename().string());
}

} // namespace

PdfError::PdfError(Kind kind, const std::filesystem::path& file)
    : std::runtime_error(sentence(kind, named(file))), _kind(kind) {}

PdfError::PdfError(Kind kind, const std::filesystem::path& file, int pageIndex)
    : std::runtime_error(
          sentence(kind, fmt::format("Page {} of {}", int64_t{pageIndex} + 1, named(file)))),
      _kind(kind) {}

} // namespace lanternfly
