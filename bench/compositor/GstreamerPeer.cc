#include "GstreamerPeer.h"

#include <algorithm>
#include <filesystem>
#include <string>

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/Pictures.h"
#include "support/Png.h"

namespace lanternfly::bench {

namespace {

double milliseconds(const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) * 1e-3;
}

// User and system time of one run of the pipeline.
std::optional<double> cpuMsOf(const std::string& pipeline) {
    const pid_t child = fork();
    if (child < 0) return std::nullopt;
    if (child == 0) {
        const std::string command = "exec gst-launch-1.0 -q " + pipeline + " >/dev/null 2>&1";
        execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
        _exit(127);
    }
    int status = 0;
    rusage usage{};
    if (wait4(child, &status, 0, &usage) != child || !WIFEXITED(status) || WEXITSTATUS(status) != 0)
        return std::nullopt;
    return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

struct Pictures {
    Pictures() {
        std::string name = (std::filesystem::temp_directory_path() / "lanternfly-bench-XXXXXX");
        folder = mkdtemp(name.data()) ? name : "";
        test::writePng(*test::cameraScene(1920, 1080), folder / "camera.png");
        test::writePng(*test::slidePicture(640, 360, 200), folder / "overlay.png");
    }
    ~Pictures() {
        std::error_code ignored;
        if (!folder.empty()) std::filesystem::remove_all(folder, ignored);
    }
    std::string source(const char* file, int frames) const {
        return "filesrc location=" + (folder / file).string() +
               " ! pngdec ! videoconvert ! video/x-raw,format=BGRA ! imagefreeze num-buffers=" +
               std::to_string(frames) + " ! video/x-raw,framerate=30/1";
    }
    std::filesystem::path folder;
};

std::string alone(const Pictures& pictures, int frames) {
    return pictures.source("camera.png", frames) + " ! fakesink sync=false " +
           pictures.source("overlay.png", frames) + " ! fakesink sync=false";
}

std::string composited(const Pictures& pictures, int frames) {
    return "compositor name=c sink_0::zorder=0 sink_1::xpos=100 sink_1::ypos=100 sink_1::zorder=1"
           " ! video/x-raw,format=BGRA,width=1920,height=1080 ! fakesink sync=false " +
           pictures.source("camera.png", frames) + " ! c.sink_0 " +
           pictures.source("overlay.png", frames) + " ! c.sink_1";
}

} // namespace

std::optional<double> gstreamerOverlayCpuMs() {
    const Pictures pictures;
    if (pictures.folder.empty()) return std::nullopt;
    constexpr int few = 60;
    constexpr int many = 360;
    std::optional<double> best;
    for (int attempt = 0; attempt < 3; ++attempt) {
        const auto compositedMany = cpuMsOf(composited(pictures, many));
        const auto compositedFew = cpuMsOf(composited(pictures, few));
        const auto aloneMany = cpuMsOf(alone(pictures, many));
        const auto aloneFew = cpuMsOf(alone(pictures, few));
        if (!compositedMany || !compositedFew || !aloneMany || !aloneFew) return best;
        // The difference of a long and a short run leaves starting up and decoding out.
        const double perFrame =
            ((*compositedMany - *compositedFew) - (*aloneMany - *aloneFew)) / (many - few);
        best = best ? std::min(*best, perFrame) : perFrame;
    }
    return best;
}

} // namespace lanternfly::bench
