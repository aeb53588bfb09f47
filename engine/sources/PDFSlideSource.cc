#include "sources/PDFSlideSource.h"

#include <algorithm>

#include "base/Logger.h"
#include "base/Match.h"
#include "base/Weakly.h"

namespace lanternfly {

namespace {

const Logger logger("PDFSlideSource");

// Takes the completions out before calling them: they may ask for the page again.
template <typename Completion>
std::vector<Completion> takeWaiting(std::map<int, std::vector<Completion>>& inFlight, int index) {
    auto node = inFlight.extract(index);
    return node ? std::move(node.mapped()) : std::vector<Completion>{};
}

} // namespace

std::shared_ptr<PDFSlideSource> PDFSlideSource::create(const std::filesystem::path& path,
                                                       DeviceRef device, PdfOpener& opener,
                                                       CallbackExecutor callbacks) {
    try {
        return open(path, std::move(device), opener, std::move(callbacks));
    } catch (const PdfError& error) {
        logger.error("{}", error.what());
        return nullptr;
    }
}

std::shared_ptr<PDFSlideSource> PDFSlideSource::open(const std::filesystem::path& path,
                                                     DeviceRef device, PdfOpener& opener,
                                                     CallbackExecutor callbacks) {
    auto document = opener.open(path);
    return std::shared_ptr<PDFSlideSource>(
        new PDFSlideSource(path, std::move(device), std::move(document), std::move(callbacks)));
}

PDFSlideSource::PDFSlideSource(std::filesystem::path path, DeviceRef device,
                               std::shared_ptr<PdfDocument> document, CallbackExecutor callbacks)
    : _path(std::move(path)), _device(std::move(device)), _document(std::move(document)),
      _callbacks(std::move(callbacks)) {}

void PDFSlideSource::texture(int index, SlideSizePX size, TextureCompletion completion) {
    if (const auto cached = _cache.find(index); cached != _cache.end())
        return completion(cached->second);
    if (!hasPage(index)) return completion(TextureRef());
    auto& waiting = _texturesInFlight[index];
    waiting.push_back(std::move(completion));
    if (waiting.size() == 1) draw(index, size, &PDFSlideSource::finishTexture);
}

void PDFSlideSource::thumbnail(int index, double maxDimension, ThumbnailCompletion completion) {
    if (const auto cached = _thumbnailCache.find(index); cached != _thumbnailCache.end())
        return completion(cached->second);
    if (!hasPage(index)) return completion(nullptr);
    auto& waiting = _thumbnailsInFlight[index];
    waiting.push_back(std::move(completion));
    if (waiting.size() == 1)
        draw(index, {maxDimension, maxDimension}, &PDFSlideSource::finishThumbnail);
}

void PDFSlideSource::precache(std::vector<int> indices, std::function<void()> completion) {
    std::reverse(indices.begin(), indices.end());
    precacheNext(std::make_shared<std::vector<int>>(std::move(indices)), std::move(completion));
}

void PDFSlideSource::precacheNext(std::shared_ptr<std::vector<int>> reversed,
                                  std::function<void()> completion) {
    while (!reversed->empty()) {
        const int index = reversed->back();
        reversed->pop_back();
        if (_cache.contains(index) || !hasPage(index)) continue;
        return texture(index, {precacheSidePX, precacheSidePX},
                       [this, reversed, completion = std::move(completion)](const TextureResult&) {
                           precacheNext(reversed, completion);
                       });
    }
    if (completion) completion();
}

void PDFSlideSource::draw(int index, SlideSizePX size, Finish finish) {
    _document->renderPage(index, size.width, size.height,
                          [weak = weak_from_this(), callbacks = _callbacks, index,
                           finish](PdfDocument::PageResult result) {
                              callbacks(
                                  [weak, index, finish, result = std::move(result)]() mutable {
                                      if (const auto self = weak.lock())
                                          ((*self).*finish)(index, std::move(result));
                                  });
                          });
}

void PDFSlideSource::finishTexture(int index, PdfDocument::PageResult result) {
    TextureResult answer = TextureRef();
    if (const auto picture = pictureOf(index, result)) {
        auto made = _device->makeTexture(
            *picture,
            {.label = "lanternfly.pdf.page", .flipRows = true, .prefilteredLevels = true});
        if (made) {
            _cache[index] = made;
            answer = std::move(made);
        } else {
            answer = SlideTextureError(SlideTextureError::Kind::textureNotMade);
        }
    }
    for (const auto& completion : takeWaiting(_texturesInFlight, index))
        completion(answer);
}

void PDFSlideSource::finishThumbnail(int index, PdfDocument::PageResult result) {
    const auto picture = pictureOf(index, result);
    if (picture) _thumbnailCache[index] = picture;
    for (const auto& completion : takeWaiting(_thumbnailsInFlight, index))
        completion(picture);
}

PixelBufferRef PDFSlideSource::pictureOf(int index, const PdfDocument::PageResult& result) const {
    return match(
        result, [](const PixelBufferRef& picture) { return picture; },
        [&](const PdfError& error) -> PixelBufferRef {
            logger.warning("{}", error.what());
            if (_failureHandler) _failureHandler(index, error);
            return nullptr;
        });
}

} // namespace lanternfly
