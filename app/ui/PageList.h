// The pages of the deck as small pictures; a click shows the page.
// Threads: bound to the main thread.
#pragma once

#include <functional>
#include <memory>

#include <QListWidget>

#include "sources/PDFSlideSource.h"

namespace lanternfly {

class PageList final : public QListWidget {
public:
    static constexpr int thumbnailPX = 160;

    // `onChosen` is told the page, from 1.
    explicit PageList(std::function<void(int page)> onChosen);

    // Null takes the pages away. Small pictures are asked for one at a time, so that a page that
    // the audience waits for comes soon.
    void setSlides(const std::shared_ptr<PDFSlideSource>& slides);
    const std::shared_ptr<PDFSlideSource>& slides() const { return _slides; }
    void setPage(int page);

private:
    void askNext(int index);

    std::shared_ptr<PDFSlideSource> _slides;
    // Of the deck that is shown: pictures of another one come too late.
    std::shared_ptr<int> _round;
};

} // namespace lanternfly
