#include "platform/fake/ScriptedCameras.h"

#include <algorithm>

#include <fmt/format.h>

#include "platform/FrameDelivery.h"

namespace lanternfly {

struct ScriptedCameras::State {
    struct Running {
        std::shared_ptr<FrameDelivery> delivery; // null while no session runs with both ends
        std::shared_ptr<SerialQueue> queue;      // where it delivers
        int width = 0, height = 0;
    };
    struct Contents {
        Script script;
        std::vector<std::shared_ptr<Device>> attached;
        std::set<std::string> inUse;
        std::vector<std::function<void(bool)>> accessRequests;
        std::vector<std::weak_ptr<Observer>> observers;
        std::vector<std::string> journal;
        Running running;
    };
    LockedCell<Contents> _contents;

    void note(std::string entry) {
        _contents.withLock([&](Contents& all) { all.journal.push_back(std::move(entry)); });
    }
    Script script() const {
        return _contents.withLock([](const Contents& all) { return all.script; });
    }
    bool isAttached(const std::string& uniqueID) const;
};

class ScriptedCameras::Device final : public CameraDevice,
                                      public std::enable_shared_from_this<Device> {
public:
    Device(ScriptedCamera camera, std::shared_ptr<State> state)
        : _camera(std::move(camera)), _state(std::move(state)) {}

    const std::string& uniqueID() const override { return _camera.uniqueID; }
    const std::string& localizedName() const override { return _camera.localizedName; }
    const std::string& manufacturer() const override { return _camera.manufacturer; }
    const std::string& modelID() const override { return _camera.modelID; }
    const std::string& className() const override { return _camera.className; }
    CameraDeviceType type() const override { return _camera.type; }
    uint32_t transportType() const override { return _camera.transportType; }
    const std::vector<CameraFormat>& formats() const override { return _camera.formats; }
    bool supportsPreset(CameraPreset preset) const override {
        return _camera.presets.contains(preset);
    }
    std::unique_ptr<CameraConfigurationLock> lockForConfiguration() override {
        if (_camera.lockFailure) throw CameraError(CameraError::Kind::failed, *_camera.lockFailure);
        _state->note("lock " + uniqueID());
        return std::make_unique<Lock>(shared_from_this());
    }

    const ScriptedCamera& camera() const { return _camera; }
    size_t activeFormat() const { return _activeFormat.get(); }

private:
    class Lock final : public CameraConfigurationLock {
    public:
        explicit Lock(std::shared_ptr<Device> device) : _device(std::move(device)) {}
        ~Lock() override { _device->_state->note("unlock " + _device->uniqueID()); }
        void setActiveFormat(size_t index) override {
            _device->_activeFormat.set(index);
            _device->_state->note(fmt::format("format {}", index));
        }
        void setFrameDurations(MediaTime minimum, MediaTime maximum) override {
            _device->_state->note(fmt::format("durations {}/{} {}/{}", minimum.value,
                                              minimum.timescale, maximum.value, maximum.timescale));
        }

    private:
        const std::shared_ptr<Device> _device;
    };

    const ScriptedCamera _camera;
    const std::shared_ptr<State> _state;
    LockedCell<size_t> _activeFormat{0};
};

bool ScriptedCameras::State::isAttached(const std::string& uniqueID) const {
    return _contents.withLock([&](const Contents& all) {
        return std::ranges::any_of(
            all.attached, [&](const auto& device) { return device->uniqueID() == uniqueID; });
    });
}

class ScriptedCameras::Input final : public CameraInput {
public:
    Input(std::shared_ptr<Device> scripted, std::shared_ptr<State> state)
        : _scripted(std::move(scripted)), _device(_scripted), _state(std::move(state)) {}
    ~Input() override {
        _state->_contents.withLock(
            [&](State::Contents& all) { all.inUse.erase(_scripted->uniqueID()); });
    }
    const CameraDeviceRef& device() const override { return _device; }
    std::string problem() const override { return _state->script().problem; }
    const Device& scripted() const { return *_scripted; }

    bool wasRemoved = false;

private:
    const std::shared_ptr<Device> _scripted;
    const CameraDeviceRef _device;
    const std::shared_ptr<State> _state;
};

class ScriptedCameras::Session final : public CameraSession {
public:
    explicit Session(std::shared_ptr<State> state) : _state(std::move(state)) {}
    ~Session() override {
        _isRunning = false;
        update();
    }

    void beginConfiguration() override {
        _state->note("begin");
        _isConfiguring = true;
        _preset = CameraPreset::inputPriority;
    }
    void commitConfiguration() override {
        _state->note("commit");
        _isConfiguring = false;
        update();
    }
    bool canSetPreset(CameraPreset preset) const override {
        return _state->script().sessionPresets.contains(preset);
    }
    void setPreset(CameraPreset preset) override {
        _state->note(fmt::format("preset {}", nameOf(preset)));
        _preset = preset;
    }
    CameraPreset preset() const override { return _preset; }

    bool canAddInput(const CameraInputRef& input) const override {
        if (_input) return false;
        const auto& candidate = static_cast<const Input&>(*input);
        const ScriptedCamera& camera = candidate.scripted().camera();
        if (!_state->isAttached(camera.uniqueID)) return false;
        if (candidate.wasRemoved && _state->script().refusesReturningInput) return false;
        return !camera.isAccepted || camera.isAccepted(_preset);
    }
    void addInput(const CameraInputRef& input) override {
        _state->note("addInput " + input->device()->uniqueID());
        _input = std::static_pointer_cast<Input>(input);
        update();
    }
    void removeInput(const CameraInputRef& input) override {
        _state->note("removeInput " + input->device()->uniqueID());
        _input->wasRemoved = true;
        _input = nullptr;
        update();
    }
    bool canAddOutput(const CameraOutputRef&) const override {
        return !_output && !_state->script().refusesOutput;
    }
    void addOutput(const CameraOutputRef& output) override {
        _state->note(fmt::format("addOutput discardsLateFrames={} queue={}",
                                 output->discardsLateFrames, output->queue->label()));
        _output = output;
        update();
    }
    void removeOutput(const CameraOutputRef&) override {
        _state->note("removeOutput");
        _output = nullptr;
        update();
    }
    void startRunning() override {
        _state->note("startRunning");
        _isRunning = true;
        update();
    }
    void stopRunning() override {
        _state->note("stopRunning");
        _isRunning = false;
        update();
    }

private:
    void update() {
        if (_isConfiguring) return;
        State::Running running;
        if (_isRunning && _input && _output) {
            const Device& device = _input->scripted();
            running.delivery = std::make_shared<FrameDelivery>(_output);
            running.queue = _output->queue;
            if (device.activeFormat() < device.formats().size()) {
                running.width = device.formats()[device.activeFormat()].width;
                running.height = device.formats()[device.activeFormat()].height;
            }
        }
        // The old delivery closes after the lock is released.
        _state->_contents.withLock([&](State::Contents& all) { std::swap(all.running, running); });
    }

    const std::shared_ptr<State> _state;
    std::shared_ptr<Input> _input;
    CameraOutputRef _output;
    CameraPreset _preset = CameraPreset::high;
    bool _isConfiguring = false;
    bool _isRunning = false;
};

ScriptedCameras::ScriptedCameras() : _state(std::make_shared<State>()) {}
ScriptedCameras::~ScriptedCameras() {
    // Devices hold the state that they are in.
    std::vector<std::shared_ptr<Device>> attached;
    _state->_contents.withLock([&](State::Contents& all) { std::swap(all.attached, attached); });
}

void ScriptedCameras::change(const std::function<void(Script&)>& edit) {
    _state->_contents.withLock([&](State::Contents& all) { edit(all.script); });
}

void ScriptedCameras::attach(ScriptedCamera camera) {
    const CameraChange change{CameraChange::Kind::connected, camera.uniqueID, camera.localizedName};
    auto device = std::make_shared<Device>(std::move(camera), _state);
    _state->_contents.withLock(
        [&](State::Contents& all) { all.attached.push_back(std::move(device)); });
    announce(change);
}

void ScriptedCameras::detach(const std::string& uniqueID) {
    std::shared_ptr<Device> gone;
    State::Running running;
    _state->_contents.withLock([&](State::Contents& all) {
        std::erase_if(all.attached, [&](const auto& device) {
            if (device->uniqueID() != uniqueID) return false;
            gone = device;
            return true;
        });
        if (all.inUse.contains(uniqueID)) std::swap(all.running, running);
    });
    if (gone) announce({CameraChange::Kind::disconnected, uniqueID, gone->localizedName()});
}

void ScriptedCameras::announce(CameraChange change) {
    auto observers = _state->_contents.withLock([](State::Contents& all) {
        std::erase_if(all.observers, [](const auto& weak) { return weak.expired(); });
        return all.observers;
    });
    _notifications.async([told = std::move(observers), change = std::move(change)] {
        for (const auto& weak : told)
            if (const auto observer = weak.lock()) (*observer)(change);
    });
}

void ScriptedCameras::answerAccessRequests(bool isGranted) {
    std::vector<std::function<void(bool)>> waiting;
    _state->_contents.withLock([&](State::Contents& all) {
        all.script.authorization =
            isGranted ? CameraAuthorization::authorized : CameraAuthorization::denied;
        std::swap(waiting, all.accessRequests);
    });
    for (const auto& completion : waiting)
        completion(isGranted);
}

void ScriptedCameras::sendFrame(CameraSample sample) {
    const auto delivery =
        _state->_contents.withLock([](const State::Contents& all) { return all.running.delivery; });
    if (delivery) delivery->put(std::move(sample));
}

PixelBufferRef ScriptedCameras::sendFrame(MediaTime pts) {
    const auto running =
        _state->_contents.withLock([](const State::Contents& all) { return all.running; });
    if (!running.delivery) return nullptr;
    auto pixels = PixelBuffer::create(running.width, running.height);
    running.delivery->put({pixels, pts});
    return pixels;
}

std::vector<std::string> ScriptedCameras::journal() const {
    return _state->_contents.withLock([](const State::Contents& all) { return all.journal; });
}

void ScriptedCameras::clearJournal() {
    _state->_contents.withLock([](State::Contents& all) { all.journal.clear(); });
}

void ScriptedCameras::settle() {
    _notifications.sync([] {});
    const auto queue =
        _state->_contents.withLock([](const State::Contents& all) { return all.running.queue; });
    if (queue) queue->sync([] {});
}

std::vector<CameraDeviceRef> ScriptedCameras::devices(std::span<const CameraDeviceType> types) {
    std::vector<CameraDeviceRef> found;
    _state->_contents.withLock([&](const State::Contents& all) {
        for (const auto& device : all.attached)
            if (std::ranges::find(types, device->type()) != types.end()) found.push_back(device);
    });
    return found;
}

CameraAuthorization ScriptedCameras::authorization() {
    return _state->script().authorization;
}

void ScriptedCameras::requestAccess(std::function<void(bool isGranted)> completion) {
    const CameraAuthorization known = authorization();
    if (known != CameraAuthorization::notDetermined)
        return completion(known == CameraAuthorization::authorized);
    _state->_contents.withLock(
        [&](State::Contents& all) { all.accessRequests.push_back(std::move(completion)); });
}

CameraReactions ScriptedCameras::reactions() {
    return _state->script().reactions;
}

CameraInputRef ScriptedCameras::makeInput(const CameraDeviceRef& device) {
    auto scripted = std::static_pointer_cast<Device>(device);
    const ScriptedCamera& camera = scripted->camera();
    _state->note("makeInput " + camera.uniqueID);
    if (camera.inputFailure) throw CameraError(CameraError::Kind::failed, *camera.inputFailure);
    if (!_state->isAttached(camera.uniqueID))
        throw CameraError(CameraError::Kind::disconnected,
                          camera.localizedName + " is not attached; plug it in");
    const bool isFree = _state->_contents.withLock(
        [&](State::Contents& all) { return all.inUse.insert(camera.uniqueID).second; });
    if (!isFree)
        throw CameraError(CameraError::Kind::busy,
                          camera.localizedName + " is in use; close the program that uses it");
    return std::make_shared<Input>(std::move(scripted), _state);
}

std::unique_ptr<CameraSession> ScriptedCameras::makeSession() {
    return std::make_unique<Session>(_state);
}

CameraPlatform::Observation ScriptedCameras::observe(Observer observer) {
    auto kept = std::make_shared<Observer>(std::move(observer));
    _state->_contents.withLock([&](State::Contents& all) { all.observers.push_back(kept); });
    return kept;
}

} // namespace lanternfly
