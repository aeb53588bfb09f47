// The part that scripts of detectors share: which pictures were shown, and detections that wait
// until a test lets them go on.
// Threads: safe.
#pragma once

#include <condition_variable>
#include <mutex>
#include <vector>

#include "base/PixelBuffer.h"

namespace lanternfly {

class PictureLog {
public:
    struct Picture {
        int width, height;
        PixelFormat format;
        friend bool operator==(const Picture&, const Picture&) = default;
    };

    // Detections that start from now on wait until release().
    void hold();
    void release();
    // Returns once a detection waits.
    void waitUntilHeld();
    // The pictures shown to all detectors of this script.
    std::vector<Picture> pictures() const;

protected:
    ~PictureLog() = default;
    // Notes the picture and waits while held. The lock is held on return.
    std::unique_lock<std::mutex> show(const PixelBuffer& picture);

    mutable std::mutex _mutex;

private:
    std::condition_variable _changed;
    std::vector<Picture> _pictures;
    bool _isHolding = false;
    int _heldCount = 0;
};

} // namespace lanternfly
