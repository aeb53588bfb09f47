#include "platform/fake/PictureLog.h"

namespace lanternfly {

void PictureLog::hold() {
    const std::lock_guard guard(_mutex);
    _isHolding = true;
}

void PictureLog::release() {
    const std::lock_guard guard(_mutex);
    _isHolding = false;
    _changed.notify_all();
}

void PictureLog::waitUntilHeld() {
    std::unique_lock lock(_mutex);
    _changed.wait(lock, [&] { return _heldCount > 0; });
}

std::vector<PictureLog::Picture> PictureLog::pictures() const {
    const std::lock_guard guard(_mutex);
    return _pictures;
}

std::unique_lock<std::mutex> PictureLog::show(const PixelBuffer& picture) {
    std::unique_lock lock(_mutex);
    _pictures.push_back({picture.width(), picture.height(), picture.format()});
    ++_heldCount;
    _changed.notify_all();
    _changed.wait(lock, [&] { return !_isHolding; });
    --_heldCount;
    return lock;
}

} // namespace lanternfly
