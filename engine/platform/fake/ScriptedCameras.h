// Cameras made up by a test: what is attached, what refuses what, which frames come.
// Threads: safe; one test thread scripts.
#pragma once

#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "base/LockedCell.h"
#include "base/SerialQueue.h"
#include "platform/CameraPlatform.h"

namespace lanternfly {

struct ScriptedCamera {
    std::string uniqueID;
    std::string localizedName = uniqueID;
    CameraDeviceType type = CameraDeviceType::external;
    uint32_t transportType = CameraTransportType::usb;
    std::vector<CameraFormat> formats{{1920, 1080, {{30, 30}}, false, ""}};
    std::string manufacturer{};
    std::string modelID{};
    std::string className = "ScriptedCamera";
    std::set<CameraPreset> presets{CameraPreset::high};
    std::optional<std::string> lockFailure{};  // the error's text
    std::optional<std::string> inputFailure{}; // the error's text
    // Formats, and "high", in which the session takes this camera; all when empty.
    std::function<bool(CameraPreset)> isAccepted{};
};

class ScriptedCameras final : public CameraPlatform {
public:
    struct Script {
        CameraAuthorization authorization = CameraAuthorization::authorized;
        CameraReactions reactions{};
        std::set<CameraPreset> sessionPresets{CameraPreset::high, CameraPreset::hd1280x720,
                                              CameraPreset::hd1920x1080};
        bool refusesOutput = false;
        bool refusesReturningInput = false; // one that was taken out of the session
        std::string problem{};              // of an input that is open
    };

    ScriptedCameras();
    ~ScriptedCameras() override;

    void change(const std::function<void(Script&)>& edit);
    // Observers are told; the camera is last in the system's order.
    void attach(ScriptedCamera camera);
    void detach(const std::string& uniqueID);
    void answerAccessRequests(bool isGranted);
    // A frame of the camera that runs, if one does.
    void sendFrame(CameraSample sample);
    // A frame of the active format's size. Returns its pixels, null when no session runs.
    PixelBufferRef sendFrame(MediaTime pts);
    // What sessions and devices were told, in order: "begin", "addInput front", …
    std::vector<std::string> journal() const;
    void clearJournal();
    // Returns when observers have heard of all changes and the session's frames are delivered.
    void settle();

    std::vector<CameraDeviceRef> devices(std::span<const CameraDeviceType> types) override;
    CameraAuthorization authorization() override;
    void requestAccess(std::function<void(bool isGranted)> completion) override;
    CameraReactions reactions() override;
    CameraInputRef makeInput(const CameraDeviceRef& device) override;
    std::unique_ptr<CameraSession> makeSession() override;
    Observation observe(Observer observer) override;

private:
    struct State;
    class Device;
    class Input;
    class Session;
    void announce(CameraChange change);

    std::shared_ptr<State> _state;
    SerialQueue _notifications{"fake.ScriptedCameras.notifications"};
};

} // namespace lanternfly
