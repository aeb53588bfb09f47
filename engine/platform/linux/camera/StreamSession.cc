#include "platform/linux/camera/StreamSession.h"

namespace lanternfly {

StreamSession::~StreamSession() {
    stopStreaming();
}

void StreamSession::beginConfiguration() {
    _isConfiguring = true;
    _preset = CameraPreset::inputPriority;
}

void StreamSession::commitConfiguration() {
    _isConfiguring = false;
    update();
}

bool StreamSession::canSetPreset(CameraPreset preset) const {
    return preset != CameraPreset::inputPriority;
}

std::optional<CameraConfiguration> StreamSession::configurationFor(const StreamInput& input) const {
    if (input.configuration) return input.configuration;
    if (_preset == CameraPreset::inputPriority) return input.camera().configuration();
    if (const auto format = input.camera().formatFor(_preset))
        return CameraConfiguration{*format, MediaTime::invalid()};
    return std::nullopt;
}

bool StreamSession::canAddInput(const CameraInputRef& input) const {
    if (_input) return false;
    auto& candidate = static_cast<StreamInput&>(*input);
    const auto configuration = configurationFor(candidate);
    return configuration && candidate.stream().prepare(*configuration);
}

void StreamSession::addInput(const CameraInputRef& input) {
    _input = std::static_pointer_cast<StreamInput>(input);
    _input->configuration = configurationFor(*_input);
    update();
}

void StreamSession::removeInput(const CameraInputRef& input) {
    if (_input != input) return;
    _input = nullptr;
    // Also within a configuration: whoever takes the camera out may want to let it go.
    stopStreaming();
}

bool StreamSession::canAddOutput(const CameraOutputRef& output) const {
    return !_output && output->pixelFormat == PixelFormat::bgra8;
}

void StreamSession::addOutput(const CameraOutputRef& output) {
    _output = output;
    update();
}

void StreamSession::removeOutput(const CameraOutputRef& output) {
    if (_output != output) return;
    _output = nullptr;
    stopStreaming();
}

void StreamSession::startRunning() {
    _isRunning = true;
    update();
}

void StreamSession::stopRunning() {
    _isRunning = false;
    stopStreaming();
}

void StreamSession::update() {
    if (_isConfiguring || !_isRunning || !_input || !_output || _streaming) return;
    _delivery = std::make_unique<FrameDelivery>(_output);
    _streaming = _input;
    _streaming->stream().start(
        [delivery = _delivery.get()](CameraSample sample) { delivery->put(std::move(sample)); });
}

void StreamSession::stopStreaming() {
    if (!_streaming) return;
    _streaming->stream().stop();
    _streaming = nullptr;
    _delivery = nullptr;
}

} // namespace lanternfly
