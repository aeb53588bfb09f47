// Shows a frame as large as it fits, on black, without copying it.
// Threads: bound to the main thread.
#pragma once

#include <QWidget>

#include "base/PixelBuffer.h"

namespace lanternfly {

class PictureView final : public QWidget {
public:
    explicit PictureView(QWidget* parent = nullptr);

    void show(PixelBufferRef frame);
    // Where a picture of this size lies in a view of that one: whole, in the middle.
    static QRect fitted(QSize picture, const QRect& view);
    QSize sizeHint() const override { return {960, 540}; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    PixelBufferRef _frame; // held while it is shown
};

} // namespace lanternfly
