// Whether a pinch is going on, for the user interface. The host sets it from pinch events.
// Threads: bound to the main thread.
#pragma once

#include "base/Observable.h"

namespace lanternfly {

class PinchActivity {
public:
    bool isPinching() const { return _isPinching; }
    // Tells the observers when the value changes.
    void setPinching(bool isPinching) {
        if (std::exchange(_isPinching, isPinching) != isPinching) changes.notify();
    }

    Observable changes;

private:
    bool _isPinching = false;
};

} // namespace lanternfly
