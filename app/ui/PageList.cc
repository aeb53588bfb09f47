#include "app/ui/PageList.h"

#include <QPainter>

#include "app/ui/PictureView.h"

namespace lanternfly {
namespace {

constexpr QSize thumbnailSize{PageList::thumbnailPX, PageList::thumbnailPX * 9 / 16};

// All of one size, so that the list is even.
QIcon iconOf(const PixelBuffer& picture) {
    const QImage image(picture.data(), picture.width(), picture.height(),
                       static_cast<qsizetype>(picture.strideBytes()), QImage::Format_RGB32);
    QPixmap framed(thumbnailSize);
    framed.fill(Qt::transparent);
    QPainter painter(&framed);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawImage(PictureView::fitted(image.size(), QRect(QPoint(), thumbnailSize)), image);
    QIcon icon(framed);
    icon.addPixmap(framed, QIcon::Selected); // without the tint of a selection
    return icon;
}

QIcon undrawnPage() {
    QPixmap empty(thumbnailSize);
    empty.fill(QColor(128, 128, 128, 60));
    return empty;
}

} // namespace

PageList::PageList(std::function<void(int page)> onChosen) {
    setViewMode(QListView::ListMode);
    setIconSize(thumbnailSize);
    setSpacing(3);
    setUniformItemSizes(true);
    setFixedWidth(thumbnailSize.width() + 70);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setFocusPolicy(Qt::NoFocus); // keys are commands
    connect(this, &QListWidget::itemClicked,
            [this, chosen = std::move(onChosen)](QListWidgetItem* item) { chosen(row(item) + 1); });
}

void PageList::setSlides(const std::shared_ptr<PDFSlideSource>& slides) {
    if (slides == _slides) return;
    _slides = slides;
    _round = std::make_shared<int>();
    clear();
    setVisible(slides != nullptr);
    if (!slides) return;
    const QIcon empty = undrawnPage();
    for (int page = 1; page <= slides->slideCount(); ++page)
        addItem(new QListWidgetItem(empty, QString::number(page)));
    askNext(0);
}

void PageList::askNext(int index) {
    if (index >= _slides->slideCount()) return;
    _slides->thumbnail(index, thumbnailPX,
                       [this, index, weak = std::weak_ptr(_round)](const PixelBufferRef& picture) {
                           if (weak.expired()) return;
                           if (picture) item(index)->setIcon(iconOf(*picture));
                           askNext(index + 1);
                       });
}

void PageList::setPage(int page) {
    if (page < 1 || page > count() || currentRow() == page - 1) return;
    setCurrentRow(page - 1);
    scrollToItem(currentItem());
}

} // namespace lanternfly
