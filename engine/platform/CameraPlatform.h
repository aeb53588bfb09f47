// Port: the cameras of a system, the permission to use them, and news of their coming and going.
// Threads: safe.
#pragma once

#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "platform/CameraDevice.h"
#include "platform/CameraSession.h"

namespace lanternfly {

enum class CameraAuthorization { notDetermined, restricted, denied, authorized };

// Effects that the system itself draws when it sees certain hand signs.
struct CameraReactions {
    bool isSystemEnabled = false;
    bool areGesturesEnabled = false;
};

struct CameraChange {
    enum class Kind { connected, disconnected };
    Kind kind;
    std::string uniqueID;
    std::string localizedName;
};

class CameraPlatform {
public:
    using Observer = std::function<void(const CameraChange&)>;
    // Ends the observation when it goes; an observer that runs at that moment completes.
    using Observation = std::shared_ptr<void>;

    virtual ~CameraPlatform() = default;

    // The video cameras of these types that are attached now, in the system's order.
    virtual std::vector<CameraDeviceRef> devices(std::span<const CameraDeviceType> types) = 0;

    virtual CameraAuthorization authorization() = 0;
    // Asks the user; completes on any thread.
    virtual void requestAccess(std::function<void(bool isGranted)> completion) = 0;
    virtual CameraReactions reactions() = 0;

    // Opens the camera. Throws CameraError.
    virtual CameraInputRef makeInput(const CameraDeviceRef& device) = 0;
    virtual std::unique_ptr<CameraSession> makeSession() = 0;

    // Observers are called on a thread of the platform's own, one at a time.
    [[nodiscard]] virtual Observation observe(Observer observer) = 0;
};

} // namespace lanternfly
