// Port: an opened PDF document whose pages are drawn elsewhere.
// Threads: safe; completions run on the document's own thread, one at a time, in order.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <variant>

#include "base/PixelBuffer.h"

namespace lanternfly {

class PdfError : public std::runtime_error {
public:
    enum class Kind {
        notFound,        // no such file, or not readable by this user
        empty,           // a file of 0 bytes
        notAPdf,         // not a PDF at all
        damaged,         // a PDF that cannot be repaired
        encrypted,       // needs a password
        noPages,         // opens, but has no pages
        rendererFailed,  // the drawing process died or could not be started
        rendererTimeout, // the page took longer than it may
        pageRefused,     // the page has no area, or would need too much memory
    };
    PdfError(Kind kind, const std::string& text) : std::runtime_error(text), kind(kind) {}
    const Kind kind;
};

// Points (1/72 inch) of the media box.
struct PdfPageSize {
    double width = 0, height = 0;
};

class PdfDocument {
public:
    // Either a picture, opaque BGRA on white with its first row at the top, or why there is none.
    using PageCompletion = std::function<void(std::variant<PixelBufferRef, PdfError>)>;

    virtual ~PdfDocument() = default;
    virtual int pageCount() const = 0;
    // Absent when there is no such page.
    virtual std::optional<PdfPageSize> pageSize(int index) const = 0;
    // Draws the page's media box onto exactly widthPX × heightPX pixels.
    virtual void renderPage(int index, int widthPX, int heightPX, PageCompletion completion) = 0;
};

// Opens documents. Throws PdfError with a sentence for the user that names the file.
class PdfOpener {
public:
    virtual ~PdfOpener() = default;
    virtual std::shared_ptr<PdfDocument> open(const std::filesystem::path& file) = 0;
};

} // namespace lanternfly
