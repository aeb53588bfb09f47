// The cameras of another platform, telling why one could not be opened: the feed only logs it.
// Threads: safe.
#pragma once

#include <memory>

#include "platform/CameraPlatform.h"

namespace lanternfly {

class ReportingCameras final : public CameraPlatform {
public:
    // Told for each camera that is opened, an empty text when it worked; on any thread.
    using Report = std::function<void(const std::string& problem)>;

    ReportingCameras(std::shared_ptr<CameraPlatform> cameras, Report report)
        : _cameras(std::move(cameras)), _report(std::move(report)) {}

    std::vector<CameraDeviceRef> devices(std::span<const CameraDeviceType> types) override {
        return _cameras->devices(types);
    }
    CameraAuthorization authorization() override { return _cameras->authorization(); }
    void requestAccess(std::function<void(bool isGranted)> completion) override {
        _cameras->requestAccess(std::move(completion));
    }
    CameraReactions reactions() override { return _cameras->reactions(); }
    CameraInputRef makeInput(const CameraDeviceRef& device) override {
        try {
            auto input = _cameras->makeInput(device);
            _report({});
            return input;
        } catch (const CameraError& error) {
            _report(error.what());
            throw;
        }
    }
    std::unique_ptr<CameraSession> makeSession() override { return _cameras->makeSession(); }
    Observation observe(Observer observer) override {
        return _cameras->observe(std::move(observer));
    }

private:
    const std::shared_ptr<CameraPlatform> _cameras;
    const Report _report;
};

} // namespace lanternfly
