#include "app/ui/WindowSink.h"

namespace lanternfly {

using State = FrameSinkStatus::State;

void NewestFrame::put(PixelBufferRef frame) {
    bool isTaken = false, isMissed = false;
    _now.withLock([&](Now& now) {
        if (now.isClosed || !now.isVisible) return;
        isTaken = true;
        isMissed = now.frame != nullptr;
        std::swap(now.frame, frame); // the older one goes after the lock
    });
    if (isMissed) _report.countDropped();
    if (isTaken && !isMissed) _wake();
}

PixelBufferRef NewestFrame::take() {
    PixelBufferRef frame;
    _now.withLock([&](Now& now) { std::swap(now.frame, frame); });
    if (frame) _report.countSent();
    return frame;
}

void NewestFrame::setVisible(bool isVisible) {
    _now.withLock([&](Now& now) { now.isVisible = isVisible; });
    _report.set(isVisible ? State::watched : State::idle);
}

void NewestFrame::close() {
    PixelBufferRef frame;
    _now.withLock([&](Now& now) {
        now.isClosed = true;
        std::swap(now.frame, frame);
    });
    _report.set(State::finished);
}

} // namespace lanternfly
