// A show with a live camera: owns all of it, connects it and ends it in order.
// Threads: bound to the thread of its loop.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "app/EventLoop.h"
#include "app/Show.h"
#include "app/ShowRecords.h"
#include "app/live/LiveCamera.h"
#include "app/live/LivePipeline.h"
#include "app/live/LiveStatus.h"
#include "platform/FrameSinks.h"

namespace lanternfly {

class LiveShow {
public:
    struct Setup {
        ShowOptions options;
        CameraSource camera;
        std::vector<std::unique_ptr<FrameSink>> outputs;
        std::shared_ptr<EventLoop> loop;
        // One sentence each that the user should read.
        std::function<void(const std::string& note)> onNote;
        // Something that status() tells has changed, besides the figures.
        std::function<void()> onChange;
        uint64_t startNanos = SystemClock::shared().uptimeNanos();
    };
    using Problem = Presentation::Problem;
    using Opened = std::function<void(Problem problem)>;

    // Throws CommandError.
    explicit LiveShow(Setup setup);
    ~LiveShow();
    LiveShow(const LiveShow&) = delete;
    LiveShow& operator=(const LiveShow&) = delete;

    // Reads the file beside the show, which goes on with what it has until then, and for good when
    // the file is bad.
    void openDeck(const std::filesystem::path& path, int page, Opened opened);
    // The options' script, from now on; what is wrong with it, if anything.
    Problem playScript();
    Problem apply(const HostCommand& command);

    LiveStatus status() const;
    Presentation& presentation() { return _show.presentation(); }
    LiveCamera& camera() { return *_camera; }

    // No frame comes any more; what is written is completed. Throws CommandError.
    void finish();

private:
    void playNext(size_t next);

    Setup _setup;
    const CallbackExecutor _executor;
    LiveFigures _figures;
    std::optional<ShowRecords> _records;
    std::shared_ptr<TrackingTelemetry> _telemetry;
    std::unique_ptr<FrameSinks> _sinks;
    Show _show;
    std::unique_ptr<LivePipeline> _live;
    std::unique_ptr<LiveCamera> _camera;
    std::shared_ptr<SerialQueue> _files; // opens decks
    std::vector<TimedCommand> _script;
    uint64_t _scriptStartNanos = 0;
    EventLoop::Registration _scriptTimer;
    // Tasks that come back to the loop hold it weakly.
    const std::shared_ptr<LiveShow*> _self = std::make_shared<LiveShow*>(this);
};

} // namespace lanternfly
