// A capture session over a camera's stream.
// Threads: bound.
#pragma once

#include <memory>
#include <optional>

#include "platform/CameraSession.h"
#include "platform/FrameDelivery.h"
#include "platform/linux/camera/StreamingCamera.h"

namespace lanternfly {

class StreamInput final : public CameraInput {
public:
    // Opens the camera. Throws CameraError.
    explicit StreamInput(StreamingCameraRef camera)
        : _camera(camera), _device(camera), _stream(camera->open()) {}

    const CameraDeviceRef& device() const override { return _device; }
    const StreamingCamera& camera() const { return *_camera; }
    std::string problem() const override { return _stream->problem(); }
    CameraStream& stream() { return *_stream; }

    // What it ran in; an input that returns to a session keeps it.
    std::optional<CameraConfiguration> configuration;

private:
    const StreamingCameraRef _camera;
    const CameraDeviceRef _device;
    const std::unique_ptr<CameraStream> _stream;
};

class StreamSession final : public CameraSession {
public:
    ~StreamSession() override;

    void beginConfiguration() override;
    void commitConfiguration() override;
    bool canSetPreset(CameraPreset preset) const override;
    void setPreset(CameraPreset preset) override { _preset = preset; }
    CameraPreset preset() const override { return _preset; }

    bool canAddInput(const CameraInputRef& input) const override;
    void addInput(const CameraInputRef& input) override;
    void removeInput(const CameraInputRef& input) override;
    bool canAddOutput(const CameraOutputRef& output) const override;
    void addOutput(const CameraOutputRef& output) override;
    void removeOutput(const CameraOutputRef& output) override;
    void startRunning() override;
    void stopRunning() override;

private:
    std::optional<CameraConfiguration> configurationFor(const StreamInput& input) const;
    void update();
    void stopStreaming();

    std::shared_ptr<StreamInput> _input;
    CameraOutputRef _output;
    CameraPreset _preset = CameraPreset::high;
    bool _isConfiguring = false;
    bool _isRunning = false;

    // Between these two frames flow; none of them while nothing runs.
    std::shared_ptr<StreamInput> _streaming;
    std::unique_ptr<FrameDelivery> _delivery;
};

} // namespace lanternfly
