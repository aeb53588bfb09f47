#include "app/ui/PictureView.h"

#include <QImage>
#include <QPainter>

namespace lanternfly {

PictureView::PictureView(QWidget* parent) : QWidget(parent) {
    // All of it is painted each time.
    setAttribute(Qt::WA_OpaquePaintEvent);
    setMinimumSize(320, 180);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
}

void PictureView::show(PixelBufferRef frame) {
    _frame = std::move(frame);
    update();
}

QRect PictureView::fitted(QSize picture, const QRect& view) {
    if (picture.isEmpty()) return {};
    const QSize size = picture.scaled(view.size(), Qt::KeepAspectRatio);
    return {view.x() + (view.width() - size.width()) / 2,
            view.y() + (view.height() - size.height()) / 2, size.width(), size.height()};
}

void PictureView::paintEvent(QPaintEvent*) {
    QPainter painter(this);
    if (!_frame) {
        painter.fillRect(rect(), Qt::black);
        return;
    }
    const QImage picture(_frame->data(), _frame->width(), _frame->height(),
                         static_cast<qsizetype>(_frame->strideBytes()), QImage::Format_RGB32);
    const QRect place = fitted(picture.size(), rect());
    for (const QRect& bar : QRegion(rect()).subtracted(place))
        painter.fillRect(bar, Qt::black);
    painter.drawImage(place, picture);
}

} // namespace lanternfly
