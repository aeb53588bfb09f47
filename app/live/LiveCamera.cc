#include "app/live/LiveCamera.h"

#include <algorithm>

#include <fmt/format.h>

#include "app/live/ReportingCameras.h"

namespace lanternfly {
namespace {

using State = CameraStatus::State;

constexpr auto checkInterval = std::chrono::milliseconds(250);
constexpr uint64_t silenceNanos = 1'000'000'000;
constexpr uint64_t startNanos = 3'000'000'000; // some cameras need as long
// A camera that is back may need as long, and most drivers have told by then what is wrong.
constexpr uint64_t unexplainedNanos = 2'000'000'000;
constexpr uint64_t beforeRetryNanos = 2'000'000'000;

const CameraDeviceInfo* find(const std::vector<CameraDeviceInfo>& infos,
                             const std::optional<std::string>& id) {
    const auto found = std::find_if(infos.begin(), infos.end(),
                                    [&](const CameraDeviceInfo& info) { return info.id == id; });
    return found == infos.end() ? nullptr : &*found;
}

} // namespace

struct LiveCamera::Arrivals {
    std::atomic<uint64_t> lastNanos{0}; // 0: none
    std::mutex gate;                    // held while a frame is handed on
    bool isClosed = false;              // behind the gate
};

LiveCamera::LiveCamera(Setup setup)
    : _setup(std::move(setup)), _arrivals(std::make_shared<Arrivals>()),
      _startNanos(_setup.clock.uptimeNanos()) {
    _cameras = std::make_shared<ReportingCameras>(_setup.source.platform);
    _feed = CameraFeed::create(_cameras, _setup.executor);
    _feed->setFrameCallback([arrivals = _arrivals, &clock = _setup.clock, onFrame = _setup.onFrame](
                                const PixelBufferRef& picture, MediaTime pts) {
        const std::lock_guard guard(arrivals->gate);
        if (arrivals->isClosed) return;
        arrivals->lastNanos.store(clock.uptimeNanos());
        onFrame(picture, pts);
    });
    // The feed calls only while it lives, which is no longer than this.
    _feed->setOnDeviceChanged([this](const std::optional<std::string>& id) { takeDevice(id); });
    _feed->setPreferredUID(_setup.source.wished);
    _feed->start();
    _checks = _setup.loop.every(checkInterval, [this] { check(); });
}

LiveCamera::~LiveCamera() {
    {
        const std::lock_guard guard(_arrivals->gate);
        _arrivals->isClosed = true;
    }
    _feed->stop();
    _feed->currentDeviceUID(); // the camera is let go by then
}

void LiveCamera::use(std::optional<std::string> wished) {
    _setup.source.wished = std::move(wished);
    _feed->setPreferredUID(_setup.source.wished);
    _feed->start();
}

bool LiveCamera::useAttached(const std::string& idOrName) {
    auto id = attachedCamera(*_cameras, idOrName);
    if (id) use(std::move(id));
    return id.has_value();
}

std::vector<CameraDeviceInfo> LiveCamera::cameras() const {
    return CameraFeed::discover(*_cameras);
}

void LiveCamera::takeDevice(const std::optional<std::string>& id) {
    _currentID = id;
    recognizeWished();
    const auto infos = cameras();
    CameraStatus status = _status;
    if (const auto* info = find(infos, id)) status.name = info->name;
    const auto& wished = _setup.source.wished;
    status.problem =
        wished && id && *id != *wished
            ? fmt::format("camera {} is not attached; {} is used until it is", *wished, status.name)
            : std::string();
    set(std::move(status));
}

void LiveCamera::check() {
    const uint64_t now = _setup.clock.uptimeNanos();
    const uint64_t last = _arrivals->lastNanos.load();
    const bool isSending = last != 0 && now < last + silenceNanos;
    if (isSending) {
        if (_status.state == State::sending) {
            const auto& wished = _setup.source.wished;
            const bool isStandingIn = wished && _currentID && *_currentID != *wished;
            if (!isStandingIn || now < _triedNanos + beforeRetryNanos) return;
            _triedNanos = now;
            return recognizeWished();
        }
        CameraStatus status = _status;
        // What is known since the camera was chosen stays.
        if (status.state != State::starting) status.problem.clear();
        status.state = State::sending;
        _triedNanos = 0;
        set(std::move(status));
        return;
    }
    const bool isStarting = last == 0 && now < _startNanos + startNanos;
    if (isStarting && _cameras->problem().empty() && !cameras().empty()) return;
    if (_triedNanos != 0 && now < _triedNanos + beforeRetryNanos) return;
    _triedNanos = now;
    set(whatIsWrong());
    recognizeWished();
    // A feed that has started follows its camera by itself; it does not look for another one.
    _feed->start();
    _feed->setPreferredUID(_setup.source.wished);
}

// The feed knows cameras by their identifiers; one that was wished by its name has had none yet.
void LiveCamera::recognizeWished() {
    auto& wished = _setup.source.wished;
    if (!wished) return;
    auto id = attachedCamera(*_cameras, *wished);
    if (!id || id == wished) return;
    wished = std::move(id);
    _feed->setPreferredUID(wished);
}

CameraStatus LiveCamera::whatIsWrong() {
    if (_cameras->authorization() == CameraAuthorization::denied)
        return {State::none, _status.name, cameraPermissionHelp};
    const auto infos = cameras();
    const bool isAttached = find(infos, _currentID) != nullptr;
    if (!_status.name.empty() && _currentID && !isAttached)
        return {State::gone, _status.name,
                fmt::format("camera {} is gone; plug it in again, its last picture stays until "
                            "then",
                            _status.name)};
    if (infos.empty()) return {State::none, _status.name, noCameraHelp};
    const std::string& name = _status.name.empty() ? infos.front().name : _status.name;
    std::string problem = _cameras->problem();
    const uint64_t now = _setup.clock.uptimeNanos();
    if (_status.state != State::silent || !problem.empty()) _silentNanos = now;
    if (!problem.empty()) return {State::silent, name, std::move(problem)};
    if (now < _silentNanos + unexplainedNanos) return {State::silent, name, {}};
    return {State::silent, name,
            fmt::format("camera {} sends no pictures; close other programs that use it, or plug "
                        "it in again",
                        name)};
}

void LiveCamera::set(CameraStatus status) {
    if (status == _status) return;
    _status = std::move(status);
    if (_setup.onChange) _setup.onChange();
}

} // namespace lanternfly
