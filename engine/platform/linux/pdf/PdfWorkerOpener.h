// Opens PDF files in the sandboxed helper lanternfly-pdf-worker, one process a document.
// Threads: safe.
#pragma once

#include "platform/PdfDocument.h"
#include "platform/linux/pdf/PdfWorkerClient.h"

namespace lanternfly {

class PdfWorkerOpener final : public PdfOpener {
public:
    explicit PdfWorkerOpener(PdfWorkerOptions options = {}) : _options(std::move(options)) {}

    std::shared_ptr<PdfDocument> open(const std::filesystem::path& file) override;

private:
    PdfWorkerOptions _options;
};

} // namespace lanternfly
