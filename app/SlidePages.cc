#include "app/SlidePages.h"

#include <fmt/format.h>

namespace lanternfly {

SlidePages::SlidePages(std::shared_ptr<PDFSlideSource> source, Shown onShown, Failed onFailed)
    : _source(std::move(source)), _onShown(std::move(onShown)), _onFailed(std::move(onFailed)) {
    _source->setFailureHandler([this](int, const PdfError& error) { _failure = error.what(); });
}

void SlidePages::goTo(int page) {
    _wanted = page;
    _isComing = true;
    _failure.clear();
    _source->setCurrentIndex(page - 1);
    constexpr SlideSizePX size{PDFSlideSource::precacheSidePX, PDFSlideSource::precacheSidePX};
    _source->texture(page - 1, size,
                     [weak = weak_from_this(), page](const SlideSource::TextureResult& result) {
                         if (const auto self = weak.lock()) self->finish(page, result);
                     });
}

void SlidePages::finish(int page, const SlideSource::TextureResult& result) {
    if (page != _wanted || !_isComing) return;
    _isComing = false;
    const auto* texture = std::get_if<TextureRef>(&result);
    if (texture && *texture) {
        _onShown(page, *texture);
    } else {
        _onFailed(page, _failure.empty()
                            ? fmt::format("page {} of {} cannot be drawn; choose another page or "
                                          "export the deck again",
                                          page, _source->fileURL().string())
                            : _failure);
    }
    // The next page first: it is the likelier one.
    _source->precache({page, page - 2}, nullptr);
}

} // namespace lanternfly
