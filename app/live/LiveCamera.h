// The camera of a live picture, as its user sees it: which one it is, whether it sends, and what to
// do when it does not. Tries again by itself.
// Threads: bound to the host's loop; frames come on the feed's delivery queue.
#pragma once

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "app/EventLoop.h"
#include "app/live/CameraSource.h"
#include "base/Clock.h"
#include "capture/CameraFeed.h"

namespace lanternfly {

class ReportingCameras;

struct CameraStatus {
    enum class State {
        starting,
        sending,
        silent, // attached, but nothing comes
        gone,   // was there, and is not attached any more
        none,   // there is no camera, or no permission
    };
    State state = State::starting;
    std::string name; // of the newest camera; empty before there was one
    // One sentence that says what is wrong and what to do; empty when all is well, and while a
    // silence is too short to be told.
    std::string problem;

    friend bool operator==(const CameraStatus&, const CameraStatus&) = default;
};

class LiveCamera {
public:
    struct Setup {
        CameraSource source;
        EventLoop& loop;                   // outlives the camera
        CallbackExecutor executor;         // of that loop
        CameraFeed::FrameCallback onFrame; // on the delivery queue
        std::function<void()> onChange;    // the status is another one
        const Clock& clock = SystemClock::shared();
    };

    explicit LiveCamera(Setup setup);
    // No frame comes afterwards.
    ~LiveCamera();
    LiveCamera(const LiveCamera&) = delete;
    LiveCamera& operator=(const LiveCamera&) = delete;

    // Another camera of the source, by its identifier; absent: the best.
    void use(std::optional<std::string> wished);
    // By its identifier or name. False when no such camera is attached.
    bool useAttached(const std::string& idOrName);
    const CameraStatus& status() const { return _status; }
    const std::optional<std::string>& currentID() const { return _currentID; }
    std::vector<CameraDeviceInfo> cameras() const;

private:
    struct Arrivals; // shared with the delivery queue

    void check();
    void recognizeWished();
    CameraStatus whatIsWrong();
    void set(CameraStatus status);
    void takeDevice(const std::optional<std::string>& id);

    Setup _setup;
    const std::shared_ptr<Arrivals> _arrivals;
    std::shared_ptr<ReportingCameras> _cameras;
    const uint64_t _startNanos;
    std::shared_ptr<CameraFeed> _feed;
    CameraStatus _status;
    std::optional<std::string> _currentID;
    uint64_t _triedNanos = 0;  // 0: not since it sent
    uint64_t _silentNanos = 0; // since when, for no known reason
    EventLoop::Registration _checks;
};

} // namespace lanternfly
