#include "app/live/LiveShow.h"

#include <algorithm>
#include <climits>

#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/ReadyDetector.h"
#include "base/Identity.h"

namespace lanternfly {
namespace {

// Hands are looked for in camera pictures of the output's shape, whatever their size.
constexpr double nominalFrameRate = 30;

} // namespace

LiveShow::LiveShow(Setup setup)
    : _setup(std::move(setup)),
      _executor([loop = _setup.loop](Task task) { loop->post(std::move(task)); }),
      _figures(SystemClock::shared(), _setup.startNanos),
      _telemetry(std::make_shared<TrackingTelemetry>()),
      _sinks(std::make_unique<FrameSinks>(std::move(_setup.outputs))),
      _show(_setup.options, _executor),
      _files(std::make_shared<SerialQueue>(std::string(identity::subsystem) + ".LiveShow.files")) {
    _records.emplace(_setup.options, _setup.options.width, _setup.options.height, nominalFrameRate);
    // Networks load beside all that follows; what is wrong with them is told when it is known.
    const auto tell = [executor = _executor, weak = std::weak_ptr(_self)](std::string note) {
        executor([weak, kept = std::move(note)] {
            if (const auto self = weak.lock()) (*self)->_setup.onNote(kept);
        });
    };
    _show.begin(
        {.clock = SystemClock::shared(),
         .makeDetector = [model = _show.handModel(), tell]() -> std::unique_ptr<HandPoseDetector> {
             try {
                 return readyDetector(model);
             } catch (const std::exception& error) {
                 tell(fmt::format("{}; the show goes on without hands", error.what()));
                 throw;
             }
         },
         .detection = FramePipeline::Detection::free,
         .events = _records->events(),
         .recordedPoses = _records->poses()});
    _show.pipeline().setTelemetry(_telemetry);
    for (const std::string& note : _show.notes())
        _setup.onNote(note);
    _sinks->setStateCallback([executor = _executor, weak = std::weak_ptr(_self)] {
        executor([weak] {
            if (const auto self = weak.lock()) (*self)->_setup.onChange();
        });
    });
    _live = std::make_unique<LivePipeline>(LivePipeline::Setup{.pipeline = _show.pipeline(),
                                                               .sink = *_sinks,
                                                               .figures = _figures,
                                                               .framing = _show.framing(),
                                                               .trace = _records->trace()});
    _camera = std::make_unique<LiveCamera>(LiveCamera::Setup{
        .source = _setup.camera,
        .loop = *_setup.loop,
        .executor = _executor,
        .onFrame = [live = _live.get()](const PixelBufferRef& picture,
                                        MediaTime pts) { live->onCameraFrame(picture, pts); },
        .onChange = [this] { _setup.onChange(); }});
}

LiveShow::~LiveShow() {
    _files->sync([] {}); // it uses the show
    _scriptTimer.reset();
    _camera.reset();
    _live.reset();
}

void LiveShow::openDeck(const std::filesystem::path& path, int page, Opened opened) {
    _files->async([this, file = std::filesystem::path(path), page, weak = std::weak_ptr(_self),
                   executor = _executor, kept = std::make_shared<Opened>(std::move(opened))] {
        Show::Slides slides;
        Problem problem;
        try {
            slides = _show.openDeck(file);
            Show::checkPage(*slides, page);
        } catch (const std::exception& error) {
            problem = error.what();
        }
        executor([weak, slides = std::move(slides), problem = std::move(problem), page,
                  kept = std::move(kept)] {
            const auto self = weak.lock();
            if (!self) return;
            if (!problem) (*self)->presentation().open(slides, page);
            (*kept)(problem);
            (*self)->_setup.onChange();
        });
    });
}

LiveShow::Problem LiveShow::playScript() {
    const int pageCount = presentation().pageCount();
    try {
        _script = Show::readScript(_setup.options, pageCount > 0 ? pageCount : INT_MAX);
    } catch (const CommandError& error) {
        return error.what();
    }
    _scriptStartNanos = SystemClock::shared().uptimeNanos();
    playNext(0);
    return std::nullopt;
}

void LiveShow::playNext(size_t next) {
    if (next >= _script.size()) return;
    const double elapsed =
        static_cast<double>(SystemClock::shared().uptimeNanos() - _scriptStartNanos) / 1e9;
    const std::chrono::duration<double> left(std::max(_script[next].seconds - elapsed, 0.0));
    _scriptTimer = _setup.loop->after(
        std::chrono::duration_cast<std::chrono::nanoseconds>(left), [this, next] {
            const TimedCommand& timed = _script[next];
            if (const auto problem = apply(timed.command))
                _setup.onNote(fmt::format("script line {}: {}", timed.line, *problem));
            playNext(next + 1);
        });
}

LiveShow::Problem LiveShow::apply(const HostCommand& command) {
    auto problem = presentation().apply(command);
    _setup.onChange();
    return problem;
}

LiveStatus LiveShow::status() const {
    LiveStatus status{.camera = _camera->status(),
                      .figures = _figures.readout(),
                      .hands = _telemetry->readout(),
                      .outputs = {},
                      .page = _show.presentation().page(),
                      .pageCount = _show.presentation().pageCount(),
                      .mode = _show.presentation().mode()};
    for (const auto& sink : _sinks->all())
        status.outputs.push_back({sink->name(), sink->status()});
    return status;
}

void LiveShow::finish() {
    _scriptTimer.reset();
    _camera.reset();
    const int64_t frames = _live->frameCount();
    _live.reset();
    _sinks->finish();
    _show.end();
    _records->finish(frames);
}

} // namespace lanternfly
