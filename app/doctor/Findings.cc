#include <algorithm>
#include <fstream>

#include <fmt/format.h>

#include "app/doctor/Examination.h"
#include "app/live/CameraSource.h"
#include "base/Identity.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;
using State = Finding::State;

std::string firstLine(const fs::path& file) {
    std::ifstream stream(file);
    std::string line;
    std::getline(stream, line);
    return line;
}

} // namespace

Finding cameraFinding(CameraAuthorization authorization,
                      const std::vector<CameraDeviceInfo>& cameras) {
    if (authorization == CameraAuthorization::denied)
        return {"cameras", State::wrong, "there are cameras, and you may use none of them",
                "add yourself to the group \"video\" (sudo usermod -aG video $USER) and log in "
                "again"};
    if (cameras.empty())
        return {"cameras", State::lacking, "no camera found",
                "plug one in, or try lanternfly present --camera demo"};
    std::string names;
    for (const CameraDeviceInfo& camera : cameras)
        names += (names.empty() ? "" : ", ") + camera.name;
    return {"cameras", State::well, names};
}

Finding pipeWireFinding(const std::optional<fs::path>& socket, bool answers) {
    if (answers) return {"PipeWire", State::well, fmt::format("listens at {}", socket->string())};
    return {"PipeWire", State::lacking,
            socket ? fmt::format("nobody listens at {}", socket->string())
                   : "there is no XDG_RUNTIME_DIR, in which it listens",
            "start it (systemctl --user start pipewire wireplumber), or install it (sudo apt "
            "install pipewire wireplumber); without it browsers see no virtual camera"};
}

Finding portalFinding(const std::vector<fs::path>& dataFolders, bool hasSessionBus) {
    if (!hasSessionBus)
        return {"desktop portal", State::lacking, "there is no session bus",
                "log in to a desktop; browsers find the virtual camera through its portal"};
    const bool isInstalled =
        std::any_of(dataFolders.begin(), dataFolders.end(), [](const fs::path& folder) {
            std::error_code ignored;
            return fs::exists(folder / "dbus-1/services/org.freedesktop.portal.Desktop.service",
                              ignored);
        });
    if (isInstalled) return {"desktop portal", State::well, "is installed"};
    return {"desktop portal", State::lacking, "is not installed",
            "sudo apt install xdg-desktop-portal and the one of your desktop, such as "
            "xdg-desktop-portal-gtk; browsers find the virtual camera through it"};
}

Finding loopbackFinding(const fs::path& videoClass) {
    std::string found;
    std::error_code failure;
    for (const auto& node : fs::directory_iterator(videoClass, failure)) {
        // Their drivers give these nodes no hardware to belong to.
        const auto device = fs::canonical(node.path(), failure);
        if (device.string().find("/devices/virtual/") == std::string::npos) continue;
        found += fmt::format("{}/dev/{} ({})", found.empty() ? "" : ", ",
                             node.path().filename().string(), firstLine(node.path() / "name"));
    }
    if (!found.empty()) return {"loopback camera", State::well, found};
    return {"loopback camera", State::lacking,
            "there is none, which only programs miss that "
            "know no PipeWire cameras",
            fmt::format("sudo apt install v4l2loopback-dkms && sudo modprobe v4l2loopback "
                        "exclusive_caps=1 card_label=\"{}\"",
                        identity::virtualCameraName)};
}

Finding displayFinding(bool hasX11, bool hasWayland) {
    if (hasWayland) return {"display", State::well, "Wayland"};
    if (hasX11) return {"display", State::well, "X11"};
    return {"display", State::lacking, "there is none for a window",
            "run it on a desktop, or use lanternfly present --no-window"};
}

Finding controlFinding(const std::optional<fs::path>& socket) {
    if (!socket)
        return {"control socket", State::lacking, "there is no XDG_RUNTIME_DIR to put it in",
                "set XDG_RUNTIME_DIR to a folder of your own; without it lanternfly send finds no "
                "show"};
    return {"control socket", State::well, socket->string()};
}

Finding settingsFinding(const std::vector<std::string>& problems) {
    if (problems.empty()) return {"settings", State::well, "can be read"};
    return {"settings", State::wrong, problems.front(), "edit the file, or move it away"};
}

Finding speedFinding(const Speed& speed) {
    if (!speed.frameMs || !speed.handsMs)
        return {"speed", State::wrong, speed.why, "install Lanternfly again"};
    constexpr double frameMs = 1000.0 / 30;
    const std::string text = fmt::format(
        "{} processors: a frame of 1920x1080 takes {:.1f} ms, a search for hands {:.0f} "
        "ms",
        speed.processors, *speed.frameMs, *speed.handsMs);
    // Both run at once and leave room for the camera, the window and others.
    const double share = (*speed.frameMs + *speed.handsMs) / (frameMs * speed.processors);
    if (*speed.frameMs > frameMs / 2 || share > 1.5)
        return {"speed", State::wrong, text,
                "use --size 1280x720, close other programs, or use a faster computer"};
    if (share > 0.8)
        return {"speed", State::lacking, text,
                "the slide will follow the hands less often; close other programs, or use --size "
                "1280x720"};
    return {"speed", State::well, text};
}

} // namespace lanternfly
