#include "platform/linux/pdf/PdfWorkerOpener.h"

#include <array>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>

#include "base/Identity.h"
#include "base/SerialQueue.h"
#include "base/Weakly.h"

namespace lanternfly {

namespace {

UniqueFd openDocument(const std::filesystem::path& file) {
    // Without O_NONBLOCK a named pipe would keep us waiting for a writer.
    UniqueFd document(::open(file.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
    struct stat status {};
    if (!document || fstat(document.get(), &status) != 0)
        throw PdfError(PdfError::Kind::notFound, file);
    if (!S_ISREG(status.st_mode)) throw PdfError(PdfError::Kind::notAPdf, file);
    if (status.st_size == 0) throw PdfError(PdfError::Kind::empty, file);
    return document;
}

// Readers accept the header anywhere in the first 1024 bytes (ISO 32000-1 annex H.3).
bool hasHeader(const UniqueFd& document) {
    std::array<char, 1024> start;
    const ssize_t size = pread(document.get(), start.data(), start.size(), 0);
    return size > 0 && std::string_view(start.data(), static_cast<size_t>(size)).find("%PDF-") !=
                           std::string_view::npos;
}

class PdfWorkerDocument final : public PdfDocument,
                                public std::enable_shared_from_this<PdfWorkerDocument> {
public:
    PdfWorkerDocument(UniqueFd document, const std::filesystem::path& file,
                      const PdfWorkerOptions& options)
        : _client(std::make_unique<PdfWorkerClient>(std::move(document), file, options)) {}

    // The helper is ended by the thread that it belongs to.
    ~PdfWorkerDocument() override {
        _queue.async([client = std::move(_client)]() mutable { client.reset(); });
    }

    // Throws PdfError.
    void start() {
        std::optional<PdfError> failure;
        _queue.sync([&] {
            try {
                _pageCount = _client->open();
            } catch (const PdfError& error) {
                failure.emplace(error);
            }
        });
        if (failure) throw PdfError(*failure);
    }

    int pageCount() const override { return _pageCount; }

    void renderPage(int index, double widthPX, double heightPX,
                    PageCompletion completion) override {
        _queue.async(weakly(*this, &PdfWorkerDocument::renderNow, index, widthPX, heightPX,
                            std::move(completion)));
    }

private:
    void renderNow(int index, double widthPX, double heightPX, PageCompletion completion) {
        completion(picture(index, widthPX, heightPX));
    }

    PageResult picture(int index, double widthPX, double heightPX) {
        try {
            return _client->renderPage(index, widthPX, heightPX);
        } catch (const PdfError& error) {
            return error;
        }
    }

    std::unique_ptr<PdfWorkerClient> _client;
    int _pageCount = 0;
    SerialQueue _queue{std::string(identity::subsystem) + ".PdfWorkerOpener.document"};
};

} // namespace

std::shared_ptr<PdfDocument> PdfWorkerOpener::open(const std::filesystem::path& file) {
    UniqueFd document = openDocument(file);
    const bool isMarked = hasHeader(document);
    auto opened = std::make_shared<PdfWorkerDocument>(std::move(document), file, _options);
    try {
        opened->start();
    } catch (const PdfError& error) {
        if (error.kind() == PdfError::Kind::damaged && !isMarked)
            throw PdfError(PdfError::Kind::notAPdf, file);
        throw;
    }
    return opened;
}

} // namespace lanternfly
