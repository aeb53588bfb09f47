// Port: an opened PDF document whose pages are drawn elsewhere.
// Threads: safe; completions run on the document's own queue, one at a time, in request order.
#pragma once

#include <filesystem>
#include <functional>
#include <memory>
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
        rendererTimeout, // opening or drawing took longer than it may
        noSuchPage,      // the index is outside 0 ..< pageCount
        pageRefused,     // the page has no area or an absurd one, or would need too much memory
    };
    // The text is a sentence for the user: it names the file and says what to do.
    PdfError(Kind kind, const std::filesystem::path& file);
    // The same about one page.
    PdfError(Kind kind, const std::filesystem::path& file, int pageIndex);

    Kind kind() const { return _kind; }

private:
    Kind _kind;
};

class PdfDocument {
public:
    // Either a picture, opaque BGRA on white with its first row at the top, or why there is none.
    using PageResult = std::variant<PixelBufferRef, PdfError>;
    using PageCompletion = std::function<void(PageResult)>;

    virtual ~PdfDocument() = default;
    virtual int pageCount() const = 0;
    // Draws the page as large as it fits, with its aspect kept, in widthPX × heightPX; the picture
    // has the size fittedPageSize gives. The page is what viewers show: upright after its own
    // rotation, and its crop box where it has one, which is the media box where it has none. A
    // document that is released drops its waiting requests without completing them.
    virtual void renderPage(int index, double widthPX, double heightPX,
                            PageCompletion completion) = 0;
};

class PdfOpener {
public:
    virtual ~PdfOpener() = default;
    // Blocks until the document is open. Throws PdfError.
    virtual std::shared_ptr<PdfDocument> open(const std::filesystem::path& file) = 0;
};

} // namespace lanternfly
