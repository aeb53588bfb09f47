#include "capture/CameraFeed.h"

#include "base/Weakly.h"
#include "capture/CameraChoice.h"

namespace lanternfly {

std::vector<CameraDeviceInfo> CameraFeed::discover(CameraPlatform& platform) {
    const Logger log("CameraFeed.discover");
    auto devices = platform.devices(cameraTypesByPriority);
    for (const CameraDeviceRef& device : devices)
        log.info("found device name={} uid={} type={} transport=0x{:08X}", device->localizedName(),
                 device->uniqueID(), nameOf(device->type()), device->transportType());
    if (devices.empty()) {
        log.warning("AVCaptureDevice.DiscoverySession returned no devices for "
                    "[.continuityCamera, .external, .builtInWideAngleCamera]");
        return {};
    }
    devices = withoutOwnCamera(std::move(devices), log);
    sortForDisplay(devices);
    std::vector<CameraDeviceInfo> infos;
    for (const CameraDeviceRef& device : devices)
        infos.push_back(CameraDeviceInfo::of(*device));
    return infos;
}

std::shared_ptr<CameraFeed> CameraFeed::create(std::shared_ptr<CameraPlatform> platform,
                                               CallbackExecutor mainQueue) {
    std::shared_ptr<CameraFeed> feed(new CameraFeed(std::move(platform), std::move(mainQueue)));
    feed->observePlatform();
    return feed;
}

CameraFeed::CameraFeed(std::shared_ptr<CameraPlatform> platform, CallbackExecutor mainQueue)
    : _mainQueue(std::move(mainQueue)),
      _sessionQueue("org.lanternfly.Lanternfly.CameraFeed.session",
                    QualityOfService::userInteractive),
      _deliveryQueue(std::make_shared<SerialQueue>("org.lanternfly.Lanternfly.CameraFeed.delivery",
                                                   QualityOfService::userInteractive)),
      _platform(std::move(platform)), _session(_platform->makeSession()) {}

void CameraFeed::observePlatform() {
    _observation = _platform->observe([weak = weak_from_this()](const CameraChange& change) {
        if (const auto feed = weak.lock())
            feed->_sessionQueue.async(weakly(*feed, &CameraFeed::handleChange, change));
    });
}

void CameraFeed::setFrameCallback(FrameCallback callback) {
    _sessionQueue.async(weakly(*this, &CameraFeed::storeFrameCallback, std::move(callback)));
}

void CameraFeed::setOnDeviceChanged(DeviceChangedCallback callback) {
    _sessionQueue.async(
        weakly(*this, &CameraFeed::storeDeviceChangedCallback, std::move(callback)));
}

void CameraFeed::start() {
    _sessionQueue.async(weakly(*this, &CameraFeed::startOnSessionQueue));
}

void CameraFeed::stop() {
    _sessionQueue.async(weakly(*this, &CameraFeed::stopOnSessionQueue));
}

void CameraFeed::setPreferredUID(std::optional<std::string> uid) {
    _sessionQueue.async(weakly(*this, &CameraFeed::storePreferredUID, std::move(uid)));
}

std::optional<std::string> CameraFeed::currentDeviceUID() {
    std::optional<std::string> uid;
    _sessionQueue.sync([&] { uid = _currentUID; });
    return uid;
}

void CameraFeed::storeFrameCallback(FrameCallback callback) {
    _deliveryQueue->async(weakly(*this, &CameraFeed::keepFrameCallback, std::move(callback)));
}

void CameraFeed::storeDeviceChangedCallback(DeviceChangedCallback callback) {
    _deviceChangedCallback = std::move(callback);
}

void CameraFeed::storePreferredUID(std::optional<std::string> uid) {
    _preferredUID = std::move(uid);
    if (_isStarted) switchCamera();
}

void CameraFeed::startOnSessionQueue() {
    if (_isStarted) return;
    switch (_platform->authorization()) {
    case CameraAuthorization::restricted:
    case CameraAuthorization::denied:
        _log.warning("camera TCC denied; CameraFeed cannot start");
        return;
    case CameraAuthorization::notDetermined:
        requestAccess();
        return;
    case CameraAuthorization::authorized:
        startSession();
        return;
    }
}

void CameraFeed::requestAccess() {
    _log.info("camera TCC not determined; deferring session start until access resolves");
    _platform->requestAccess([weak = weak_from_this()](bool isGranted) {
        if (const auto feed = weak.lock())
            feed->_sessionQueue.async(weakly(*feed, &CameraFeed::finishAccessRequest, isGranted));
    });
}

void CameraFeed::finishAccessRequest(bool isGranted) {
    if (isGranted)
        startOnSessionQueue();
    else
        _log.error("camera TCC denied; CameraFeed will not produce frames");
}

void CameraFeed::startSession() {
    const CameraDeviceRef device = pickCamera();
    if (!device) {
        _log.warning("no real video capture device available (only Lanternfly itself)");
        return;
    }
    const auto previousUID = _currentUID;
    _session->beginConfiguration();
    configure(*device);

    CameraInputRef newInput;
    try {
        newInput = _platform->makeInput(device);
    } catch (const CameraError& error) {
        _log.error("failed to create AVCaptureDeviceInput: {}", error.what());
        _session->commitConfiguration();
        return;
    }
    if (_session->canAddInput(newInput)) {
        _session->addInput(newInput);
    } else if (!addOnHighPreset(newInput)) {
        _log.error("session rejected device input for {} (even after .high preset fallback)",
                   device->localizedName());
        _session->commitConfiguration();
        return;
    }
    take(newInput);

    const auto newOutput = std::make_shared<CameraOutput>();
    newOutput->queue = _deliveryQueue;
    newOutput->handler = [weak = weak_from_this()](const CameraSample& sample) {
        if (const auto feed = weak.lock()) feed->deliver(sample);
    };
    if (!_session->canAddOutput(newOutput)) {
        _log.error("session rejected video data output");
        // The next start adds its input again.
        _session->removeInput(_input);
        _input = nullptr;
        _currentUID = previousUID;
        _session->commitConfiguration();
        return;
    }
    _session->addOutput(newOutput);
    _output = newOutput;
    _session->commitConfiguration();
    _session->startRunning();
    _isStarted = true;

    const CameraReactions reactions = _platform->reactions();
    _log.info("CameraFeed started on {} preset={}", device->localizedName(),
              nameOf(_session->preset()));
    _log.info("Reactions: avoidedAtFormat={} systemEnabled={} gestures={}", _avoidedAtFormat,
              reactions.isSystemEnabled, reactions.areGesturesEnabled);
    reportDevice();
}

void CameraFeed::stopOnSessionQueue() {
    if (!_isStarted) return;
    _isStarted = false;
    _session->stopRunning();
    _session->removeOutput(_output);
    _output = nullptr;
    if (_input) _session->removeInput(_input);
    _input = nullptr;
    _log.info("CameraFeed stopped");
}

void CameraFeed::handleChange(CameraChange change) {
    if (!_isStarted) return;
    switch (change.kind) {
    case CameraChange::Kind::connected:
        if (!_preferredUID || _preferredUID->empty() || change.uniqueID != *_preferredUID ||
            _currentUID == _preferredUID)
            return;
        _log.info("pinned camera {} reconnected; restoring", change.localizedName);
        switchCamera();
        return;
    case CameraChange::Kind::disconnected:
        if (change.uniqueID != _currentUID) return;
        _log.info("active camera {} disconnected; falling back", change.localizedName);
        switchCamera();
        return;
    }
}

void CameraFeed::switchCamera() {
    const CameraDeviceRef device = pickCamera();
    if (!device) {
        _log.error("camera switch requested but no candidate device available");
        return;
    }
    if (device->uniqueID() == _currentUID) return;
    const CameraInputRef oldInput = _input;
    _session->beginConfiguration();
    if (oldInput) _session->removeInput(oldInput);
    configure(*device);

    CameraInputRef newInput;
    try {
        newInput = _platform->makeInput(device);
    } catch (const CameraError& error) {
        _log.error("failed to create input for {}: {}; reverting", device->localizedName(),
                   error.what());
        revertTo(oldInput);
        return;
    }
    const bool isAccepted = _session->canAddInput(newInput);
    if (isAccepted) {
        _session->addInput(newInput);
    } else if (!addOnHighPreset(newInput)) {
        _log.error("session rejected switch to {} (even after .high preset fallback); reverting",
                   device->localizedName());
        revertTo(oldInput);
        return;
    }
    take(newInput);
    _session->commitConfiguration();
    _log.info("CameraFeed switched to {}{}", device->localizedName(),
              isAccepted ? "" : " on .high preset fallback");
    reportDevice();
}

void CameraFeed::revertTo(const CameraInputRef& oldInput) {
    if (oldInput && _session->canAddInput(oldInput)) {
        _session->addInput(oldInput);
    } else {
        _input = nullptr;
        _currentUID.reset();
    }
    _session->commitConfiguration();
    reportDevice();
}

CameraDeviceRef CameraFeed::pickCamera() {
    return lanternfly::pickCamera(withoutOwnCamera(_platform->devices(cameraTypesByPriority), _log),
                                  _preferredUID, _log);
}

void CameraFeed::configure(CameraDevice& device) {
    _avoidedAtFormat = configureFormat(device);
    if (!_avoidedAtFormat) configurePreset(device);
}

bool CameraFeed::configureFormat(CameraDevice& device) {
    const std::string& name = device.localizedName();
    const auto index = chooseFormat(device.formats());
    if (!index) {
        _log.warning("no non-Reactions format on {}; falling back to preset (Reactions may apply)",
                     name);
        return false;
    }
    try {
        const auto lock = device.lockForConfiguration();
        const CameraFormat& format = device.formats()[*index];
        lock->setActiveFormat(*index);
        if (const auto duration = chooseFrameDuration(format);
            duration && acceptsFrameDurations(device))
            lock->setFrameDurations(*duration, *duration);
        _log.info("CameraFeed format {}x{} (Reactions OFF) on {}", format.width, format.height,
                  name);
        return true;
    } catch (const CameraError& error) {
        _log.warning("lockForConfiguration failed on {}: {}; falling back to preset", name,
                     error.what());
        return false;
    }
}

void CameraFeed::configurePreset(const CameraDevice& device) {
    const auto isUsable = [&](CameraPreset preset) {
        return device.supportsPreset(preset) && _session->canSetPreset(preset);
    };
    if (isUsable(CameraPreset::hd1920x1080)) {
        _session->setPreset(CameraPreset::hd1920x1080);
    } else if (isUsable(CameraPreset::hd1280x720)) {
        _session->setPreset(CameraPreset::hd1280x720);
        _log.info("1080p preset unsupported on {}; using 720p", device.localizedName());
    } else {
        _session->setPreset(CameraPreset::high);
        _log.info("1080p+720p presets unsupported on {}; using .high", device.localizedName());
    }
}

bool CameraFeed::addOnHighPreset(const CameraInputRef& newInput) {
    _log.warning("first canAddInput failed for {}; resetting to .high preset and retrying",
                 newInput->device()->localizedName());
    _session->setPreset(CameraPreset::high);
    if (!_session->canAddInput(newInput)) return false;
    _session->addInput(newInput);
    return true;
}

void CameraFeed::take(const CameraInputRef& newInput) {
    _input = newInput;
    _currentUID = newInput->device()->uniqueID();
}

void CameraFeed::reportDevice() {
    if (!_deviceChangedCallback) return;
    _mainQueue([weak = weak_from_this(), callback = _deviceChangedCallback, uid = _currentUID] {
        if (!weak.expired()) callback(uid);
    });
}

void CameraFeed::keepFrameCallback(FrameCallback callback) {
    _frameCallback = std::move(callback);
}

void CameraFeed::deliver(const CameraSample& sample) {
    if (sample.buffer && _frameCallback) _frameCallback(sample.buffer, sample.pts);
}

} // namespace lanternfly
