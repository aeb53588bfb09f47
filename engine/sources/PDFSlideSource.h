// A PDF document as slides, one a page.
// Threads: bound (see SlideSource).
#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <vector>

#include "gpu/Device.h"
#include "platform/PdfDocument.h"
#include "sources/SlideSource.h"

namespace lanternfly {

class PDFSlideSource final : public SlideSource,
                             public std::enable_shared_from_this<PDFSlideSource> {
public:
    // Slides are prepared ahead to fit this square.
    static constexpr double precacheSidePX = 2048;
    // Why a page has no picture, for the host to show.
    using FailureHandler = std::function<void(int index, const PdfError& error)>;

    // Null after logging when the document cannot be opened. Blocks while it is opened.
    static std::shared_ptr<PDFSlideSource> create(const std::filesystem::path& path,
                                                  DeviceRef device, PdfOpener& opener,
                                                  CallbackExecutor callbacks);
    // The same for a host that wants to tell why: throws PdfError.
    static std::shared_ptr<PDFSlideSource> open(const std::filesystem::path& path, DeviceRef device,
                                                PdfOpener& opener, CallbackExecutor callbacks);

    Uuid id() const override { return _id; }
    int slideCount() const override { return _document->pageCount(); }
    int currentIndex() const override { return _currentIndex; }
    void setCurrentIndex(int index) override { _currentIndex = index; }
    const std::filesystem::path& fileURL() const { return _path; }
    const DeviceRef& device() const { return _device; }
    void setFailureHandler(FailureHandler handler) { _failureHandler = std::move(handler); }

    // Both caches are keyed by index alone and only grow: a page once drawn keeps its first size,
    // and requests for a page that is being drawn share the one drawing. Failures are not kept.
    void texture(int index, SlideSizePX size, TextureCompletion completion) override;
    void thumbnail(int index, double maxDimension, ThumbnailCompletion completion) override;
    // One page at a time, so that a texture asked for meanwhile waits for one page at most.
    void precache(std::vector<int> indices, std::function<void()> completion) override;

private:
    PDFSlideSource(std::filesystem::path path, DeviceRef device,
                   std::shared_ptr<PdfDocument> document, CallbackExecutor callbacks);

    bool hasPage(int index) const { return index >= 0 && index < slideCount(); }
    void finishTexture(int index, PdfDocument::PageResult result);
    void finishThumbnail(int index, PdfDocument::PageResult result);
    void precacheNext(std::shared_ptr<std::vector<int>> reversed, std::function<void()> completion);
    // The picture, or null after telling why there is none.
    PixelBufferRef pictureOf(int index, const PdfDocument::PageResult& result) const;
    using Finish = void (PDFSlideSource::*)(int, PdfDocument::PageResult);
    void draw(int index, SlideSizePX size, Finish finish);

    const Uuid _id = Uuid::random();
    const std::filesystem::path _path;
    const DeviceRef _device;
    const std::shared_ptr<PdfDocument> _document;
    const CallbackExecutor _callbacks;
    FailureHandler _failureHandler;
    int _currentIndex = 0;
    std::map<int, TextureRef> _cache;
    std::map<int, PixelBufferRef> _thumbnailCache;
    std::map<int, std::vector<TextureCompletion>> _texturesInFlight;
    std::map<int, std::vector<ThumbnailCompletion>> _thumbnailsInFlight;
};

} // namespace lanternfly
