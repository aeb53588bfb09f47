// The cameras of another platform, telling what is wrong with the newest: the feed only logs it.
// Threads: safe.
#pragma once

#include <memory>

#include "base/LockedCell.h"
#include "platform/CameraPlatform.h"

namespace lanternfly {

class ReportingCameras final : public CameraPlatform {
public:
    explicit ReportingCameras(std::shared_ptr<CameraPlatform> cameras)
        : _cameras(std::move(cameras)) {}

    // Why the newest camera could not be opened, or sends no frames; empty when nobody knows.
    std::string problem() const {
        const Newest newest = _newest.get();
        if (const auto input = newest.input.lock()) return input->problem();
        return newest.failure;
    }

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
            _newest.set({input, {}});
            return input;
        } catch (const CameraError& error) {
            _newest.set({{}, error.what()});
            throw;
        }
    }
    std::unique_ptr<CameraSession> makeSession() override { return _cameras->makeSession(); }
    Observation observe(Observer observer) override {
        return _cameras->observe(std::move(observer));
    }

private:
    struct Newest {
        std::weak_ptr<CameraInput> input; // expired: it could not be opened
        std::string failure;
    };

    const std::shared_ptr<CameraPlatform> _cameras;
    LockedCell<Newest> _newest;
};

} // namespace lanternfly
