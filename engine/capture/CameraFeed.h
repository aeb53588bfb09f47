// The one capture session of the program: picks a camera, keeps it in a format without reaction
// effects, follows cameras as they come and go, and hands every frame to the host.
// Threads: safe. All work runs on the session queue, the frame callback on the delivery queue.
#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/CallbackExecutor.h"
#include "base/Logger.h"
#include "base/SerialQueue.h"
#include "capture/CameraDeviceInfo.h"
#include "platform/CameraPlatform.h"

namespace lanternfly {

class CameraFeed : public std::enable_shared_from_this<CameraFeed> {
public:
    // A BGRA picture and its presentation time, on the delivery queue.
    using FrameCallback = std::function<void(const PixelBufferRef&, MediaTime)>;
    // The camera that is now active, if any.
    using DeviceChangedCallback = std::function<void(const std::optional<std::string>&)>;

    static constexpr int preferredWidth = 1920, preferredHeight = 1080; // px

    // `mainQueue` runs the device-changed callback. Nothing starts.
    static std::shared_ptr<CameraFeed> create(std::shared_ptr<CameraPlatform> platform,
                                              CallbackExecutor mainQueue);

    // The cameras to offer to the user, without the program's own; on the calling thread.
    static std::vector<CameraDeviceInfo> discover(CameraPlatform& platform);

    void setFrameCallback(FrameCallback callback);
    void setOnDeviceChanged(DeviceChangedCallback callback);

    // Failures are logged; a start that failed leaves the feed as it was, and can be tried again.
    void start();
    void stop();
    // Pins a camera, which is then used whenever it is attached; nothing or "" picks one.
    void setPreferredUID(std::optional<std::string> uid);
    // Waits for the work asked for before. The camera stays named after stop().
    std::optional<std::string> currentDeviceUID();

private:
    CameraFeed(std::shared_ptr<CameraPlatform> platform, CallbackExecutor mainQueue);
    void observePlatform();

    // On the session queue.
    void storeFrameCallback(FrameCallback callback);
    void storeDeviceChangedCallback(DeviceChangedCallback callback);
    void storePreferredUID(std::optional<std::string> uid);
    void startOnSessionQueue();
    void requestAccess();
    void finishAccessRequest(bool isGranted);
    void startSession();
    void stopOnSessionQueue();
    void handleChange(CameraChange change);
    void switchCamera();
    void revertTo(const CameraInputRef& oldInput);
    CameraDeviceRef pickCamera();
    void configure(CameraDevice& device);
    bool configureFormat(CameraDevice& device);
    void configurePreset(const CameraDevice& device);
    bool addOnHighPreset(const CameraInputRef& newInput);
    void take(const CameraInputRef& newInput);
    void reportDevice();

    // On the delivery queue.
    void keepFrameCallback(FrameCallback callback);
    void deliver(const CameraSample& sample);

    const Logger _log{"CameraFeed"};
    const CallbackExecutor _mainQueue;

    // Delivery queue.
    FrameCallback _frameCallback;

    // Session queue.
    DeviceChangedCallback _deviceChangedCallback;
    std::optional<std::string> _preferredUID;
    std::optional<std::string> _currentUID;
    bool _isStarted = false;
    bool _avoidedAtFormat = false;

    SerialQueue _sessionQueue;
    const std::shared_ptr<SerialQueue> _deliveryQueue;
    // After the queues that they use, so that they go first.
    std::shared_ptr<CameraPlatform> _platform;
    std::unique_ptr<CameraSession> _session;
    CameraInputRef _input;
    CameraOutputRef _output;
    CameraPlatform::Observation _observation;
};

} // namespace lanternfly
