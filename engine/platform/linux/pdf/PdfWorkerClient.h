// One document in the hands of the PDF helper. A helper that dies, hangs or talks nonsense loses
// the page it was asked for and nothing else: the next request starts another one.
// Threads: bound (see PdfWorkerProcess).
#pragma once

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <optional>

#include "base/PixelBufferPool.h"
#include "base/UniqueFd.h"
#include "platform/PageFit.h"
#include "platform/PdfDocument.h"
#include "platform/linux/pdf/PdfWorkerProcess.h"
#include "platform/linux/pdf/SharedPixels.h"

namespace lanternfly {

struct PdfWorkerOptions {
    // Empty: findPdfWorker().
    std::filesystem::path executable;
    // A cold font cache can take seconds on a system with many fonts.
    std::chrono::milliseconds startLimit{10'000};
    std::chrono::milliseconds openLimit{5'000};
    std::chrono::milliseconds pageLimit{2'000};
};

class PdfWorkerClient {
public:
    // `document` is the opened file that `file` names in errors.
    PdfWorkerClient(UniqueFd document, std::filesystem::path file, PdfWorkerOptions options);

    // Starts the helper and gives it the document; returns the page count, at least 1. Throws
    // PdfError.
    int open();
    // As PdfDocument::renderPage. Throws PdfError.
    PixelBufferRef renderPage(int index, double widthPX, double heightPX);

    // Of the helper; 0 while none runs.
    pid_t workerPid() const { return _process ? _process->pid() : 0; }

private:
    using Deadline = PdfWorkerProcess::Deadline;

    void ensureOpen();
    PdfPageSize measure(int index, Deadline deadline);
    void provideBuffer(size_t sizeBytes, int pageIndex);
    PixelBufferRef takePicture(int widthPX, int heightPX);
    // Sends, waits and decodes; anything but a reply of that type costs the helper its life.
    template <typename Reply>
    Reply exchange(const std::optional<pdfwire::Request>& request, int descriptor,
                   Deadline deadline, const char* purpose);
    [[noreturn]] void giveUp(PdfError::Kind kind, const char* purpose, const char* reason);
    PdfError error(PdfError::Kind kind) const;

    UniqueFd _document;
    std::filesystem::path _file;
    PdfWorkerOptions _options;
    std::unique_ptr<PdfWorkerProcess> _process;
    std::optional<SharedPixels> _pixels; // what the running helper draws into
    std::unique_ptr<PixelBufferPool> _pictures;
    std::map<int, PdfPageSize> _pageSizes;
    int _pageCount = 0;
    std::optional<int> _pageInHand;
};

} // namespace lanternfly
