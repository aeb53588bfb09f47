// The pages of a deck: which one is wanted, its picture when it is there, and its neighbours made
// ready meanwhile.
// Threads: bound to the presentation's thread.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "sources/PDFSlideSource.h"

namespace lanternfly {

class SlidePages : public std::enable_shared_from_this<SlidePages> {
public:
    // Pages count from 1.
    using Shown = std::function<void(int page, const TextureRef& texture)>;
    using Failed = std::function<void(int page, const std::string& why)>;

    SlidePages(std::shared_ptr<PDFSlideSource> source, Shown onShown, Failed onFailed);
    // Nobody is called back any more, also when others still use the source.
    ~SlidePages() { _source->setFailureHandler(nullptr); }

    const std::shared_ptr<PDFSlideSource>& source() const { return _source; }
    int count() const { return _source->slideCount(); }
    // The one that was asked for last; 0 before.
    int wanted() const { return _wanted; }
    bool isComing() const { return _isComing; }
    // Calls back when the page is ready, maybe before it returns; a page that another one has
    // overtaken by then is not shown. `page` is 1…count().
    void goTo(int page);

private:
    void finish(int page, const SlideSource::TextureResult& result);

    const std::shared_ptr<PDFSlideSource> _source;
    const Shown _onShown;
    const Failed _onFailed;
    int _wanted = 0;
    bool _isComing = false;
    std::string _failure; // of the newest page that could not be drawn
};

} // namespace lanternfly
