#include "platform/fake/ScriptedPdfOpener.h"

#include <cstring>

#include "base/SerialQueue.h"
#include "base/Weakly.h"

namespace lanternfly {

class ScriptedPdfOpener::Document final : public PdfDocument,
                                          public std::enable_shared_from_this<Document> {
public:
    Document(std::filesystem::path file, std::vector<ScriptedPage> pages,
             std::shared_ptr<LockedCell<Shared>> shared)
        : _file(std::move(file)), _pages(std::move(pages)), _shared(std::move(shared)) {}

    int pageCount() const override { return static_cast<int>(_pages.size()); }

    void renderPage(int index, double widthPX, double heightPX,
                    PageCompletion completion) override {
        _queue.async(
            weakly(*this, &Document::renderNow, index, widthPX, heightPX, std::move(completion)));
    }

private:
    void renderNow(int index, double widthPX, double heightPX, PageCompletion completion) {
        completion(picture(index, widthPX, heightPX));
    }

    PageResult picture(int index, double widthPX, double heightPX) {
        const auto failure =
            _shared->withLock([&](Shared& shared) -> std::optional<PdfError::Kind> {
                shared.requests.push_back({index, widthPX, heightPX});
                const auto node = shared.failOnce.extract(index);
                return node ? std::optional(node.mapped()) : std::nullopt;
            });
        if (failure) return PdfError(*failure, _file, index);
        if (index < 0 || index >= pageCount())
            return PdfError(PdfError::Kind::noSuchPage, _file, index);
        const auto& page = _pages[static_cast<size_t>(index)];
        if (page.failure) return PdfError(*page.failure, _file, index);
        const auto fit = fittedPageSize(page.size, widthPX, heightPX);
        if (!fit) return PdfError(PdfError::Kind::pageRefused, _file, index);
        auto pixels = PixelBuffer::create(fit->widthPX, fit->heightPX);
        if (!pixels) return PdfError(PdfError::Kind::pageRefused, _file, index);
        for (int y = 0; y < fit->heightPX; ++y)
            for (int x = 0; x < fit->widthPX; ++x)
                std::memcpy(pixels->row(y) + x * 4,
                            (y < fit->heightPX / 2 ? page.upper : page.lower).data(), 4);
        return pixels;
    }

    const std::filesystem::path _file;
    const std::vector<ScriptedPage> _pages;
    const std::shared_ptr<LockedCell<Shared>> _shared;
    SerialQueue _queue{"fake.ScriptedPdfOpener.document"};
};

void ScriptedPdfOpener::addDocument(const std::filesystem::path& file,
                                    std::vector<ScriptedPage> pages) {
    _documents[file] = std::move(pages);
}

void ScriptedPdfOpener::addFailure(const std::filesystem::path& file, PdfError::Kind kind) {
    _failures[file] = kind;
}

void ScriptedPdfOpener::failOnce(int index, PdfError::Kind kind) {
    _shared->withLock([&](Shared& shared) { shared.failOnce[index] = kind; });
}

std::shared_ptr<PdfDocument> ScriptedPdfOpener::open(const std::filesystem::path& file) {
    if (const auto failure = _failures.find(file); failure != _failures.end())
        throw PdfError(failure->second, file);
    const auto found = _documents.find(file);
    if (found == _documents.end()) throw PdfError(PdfError::Kind::notFound, file);
    if (found->second.empty()) throw PdfError(PdfError::Kind::noPages, file);
    return std::make_shared<Document>(file, found->second, _shared);
}

std::vector<ScriptedPdfOpener::Request> ScriptedPdfOpener::requests() const {
    return _shared->get().requests;
}

} // namespace lanternfly
