#include "app/doctor/Examination.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <thread>

#include <fmt/format.h>
#include <sys/socket.h>
#include <sys/un.h>

#include "app/ReadyDetector.h"
#include "app/commands/BindingsFile.h"
#include "app/control/ControlSocket.h"
#include "app/live/CameraSource.h"
#include "app/live/PresentSettings.h"
#include "base/Clock.h"
#include "base/UniqueFd.h"
#include "capture/CameraFeed.h"
#include "gpu/cpu/CpuDevice.h"
#include "gpu/vulkan/VulkanDevice.h"
#include "platform/linux/ProgramData.h"
#include "platform/linux/pdf/PdfWorkerOpener.h"
#include "platform/linux/vision/HandModelFolder.h"
#include "render/FrameCompositor.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;
using State = Finding::State;

constexpr const char* installAgain = "install Lanternfly again; a part of it is missing";

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

bool answers(const fs::path& socket) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (socket.native().size() >= sizeof address.sun_path) return false;
    std::ranges::copy(socket.native(), address.sun_path);
    const UniqueFd connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    return connect(connection.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) ==
           0;
}

Finding pipeWire() {
    const std::string named = variable("PIPEWIRE_REMOTE");
    const fs::path remote = named.empty() ? "pipewire-0" : named;
    const std::string folder = variable("PIPEWIRE_RUNTIME_DIR").empty()
                                   ? variable("XDG_RUNTIME_DIR")
                                   : variable("PIPEWIRE_RUNTIME_DIR");
    if (folder.empty() && remote.is_relative()) return pipeWireFinding(std::nullopt, false);
    const fs::path socket = fs::path(folder) / remote;
    return pipeWireFinding(socket, answers(socket));
}

Finding portal() {
    std::vector<fs::path> folders{"/usr/share", "/usr/local/share"};
    return portalFinding(folders, !variable("DBUS_SESSION_BUS_ADDRESS").empty());
}

Finding cameras() {
    const auto platform = machineCameras();
    return cameraFinding(platform->authorization(), CameraFeed::discover(*platform));
}

Finding graphics() {
    const auto device = VulkanDevice::create();
    if (!device)
        return {"graphics", State::lacking, "no Vulkan 1.3 device, so the processor draws",
                "nothing need be done; a graphics driver takes work off the processor (sudo apt "
                "install mesa-vulkan-drivers)"};
    return {"graphics", State::well,
            device->isSoftware() ? fmt::format("the processor draws ({} is slower)", device->name())
                                 : device->name()};
}

Finding networks() {
    try {
        readyDetector(defaultHandModelFolder());
        return {"hand networks", State::well, defaultHandModelFolder().string()};
    } catch (const std::exception& error) {
        return {"hand networks", State::wrong, error.what(), installAgain};
    }
}

Finding pages() {
    try {
        PdfWorkerOpener().open(programData("demo/deck.pdf"));
        return {"PDF pages", State::well, "are drawn in a sandbox of their own"};
    } catch (const std::exception& error) {
        return {"PDF pages", State::wrong, error.what(), installAgain};
    }
}

Finding settings() {
    auto problems = loadBindings(std::nullopt).problems;
    for (std::string& problem : loadSettings().problems)
        problems.push_back(std::move(problem));
    return settingsFinding(problems);
}

template <typename Work>
double medianMs(Work work) {
    std::array<double, 9> times{};
    for (double& time : times) {
        const double start = SystemClock::shared().uptimeSeconds();
        work();
        time = (SystemClock::shared().uptimeSeconds() - start) * 1e3;
    }
    std::ranges::sort(times);
    return times[times.size() / 2];
}

Speed measuredSpeed() {
    Speed speed{.processors = std::max(static_cast<int>(std::thread::hardware_concurrency()), 1)};
    const auto compositor = FrameCompositor::create(CpuDevice::create(), 1920, 1080);
    const auto camera = PixelBuffer::create(1920, 1080);
    const auto page = PixelBuffer::create(1024, 576);
    if (!compositor || !camera || !page) {
        speed.why = "out of memory";
        return speed;
    }
    std::memset(camera->data(), 96, camera->strideBytes() * 1080);
    std::memset(page->data(), 255, page->strideBytes() * 576);
    compositor->setSlideTexture(
        compositor->device()->makeTexture(*page, {.label = "lanternfly.doctor"}), false);
    compositor->setAppearance(OverlayAppearance{});
    speed.frameMs = medianMs([&] { compositor->composite(camera, false, FullComposition{}, 0); });
    try {
        const auto detector = readyDetector(defaultHandModelFolder());
        const auto small = PixelBuffer::create(480, 270);
        std::memset(small->data(), 96, small->strideBytes() * 270);
        std::vector<HandObservation> hands;
        speed.handsMs = medianMs([&] { detector->detect(*small, hands); });
    } catch (const std::exception& error) {
        speed.why = error.what();
    }
    return speed;
}

} // namespace

void examine(const std::function<void(const Finding&)>& tell) {
    tell(cameras());
    tell(networks());
    tell(pages());
    tell(speedFinding(measuredSpeed()));
    tell(graphics());
    tell(pipeWire());
    tell(portal());
    tell(loopbackFinding("/sys/class/video4linux"));
    tell(displayFinding(!variable("DISPLAY").empty(), !variable("WAYLAND_DISPLAY").empty()));
    tell(controlFinding(controlSocket()));
    tell(settings());
}

} // namespace lanternfly
