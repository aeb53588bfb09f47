#include "OverlayPeers.h"

#include <algorithm>
#include <filesystem>
#include <functional>
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

// User and system time of one run of the shell command.
std::optional<double> cpuMsOf(const std::string& program) {
    const pid_t child = fork();
    if (child < 0) return std::nullopt;
    if (child == 0) {
        const std::string command = "exec " + program + " >/dev/null 2>&1";
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
    std::filesystem::path folder;
};

// The command that draws, or only reads its sources, for so many frames.
using Command = std::function<std::string(bool isComposited, int frames)>;

std::optional<double> frameCpuMs(const Command& command) {
    constexpr int few = 60;
    constexpr int many = 360;
    std::optional<double> best;
    for (int attempt = 0; attempt < 3; ++attempt) {
        const auto compositedMany = cpuMsOf(command(true, many));
        const auto compositedFew = cpuMsOf(command(true, few));
        const auto aloneMany = cpuMsOf(command(false, many));
        const auto aloneFew = cpuMsOf(command(false, few));
        if (!compositedMany || !compositedFew || !aloneMany || !aloneFew) return best;
        // The difference of a long and a short run leaves starting up and decoding out.
        const double perFrame =
            ((*compositedMany - *compositedFew) - (*aloneMany - *aloneFew)) / (many - few);
        best = best ? std::min(*best, perFrame) : perFrame;
    }
    return best;
}

} // namespace

std::optional<double> gstreamerOverlayCpuMs() {
    const Pictures pictures;
    if (pictures.folder.empty()) return std::nullopt;
    const auto source = [&](const char* file, int frames) {
        return "filesrc location=" + (pictures.folder / file).string() +
               " ! pngdec ! videoconvert ! video/x-raw,format=BGRA ! imagefreeze num-buffers=" +
               std::to_string(frames) + " ! video/x-raw,framerate=30/1";
    };
    return frameCpuMs([&](bool isComposited, int frames) {
        const std::string camera = source("camera.png", frames);
        const std::string overlay = source("overlay.png", frames);
        if (!isComposited)
            return "gst-launch-1.0 -q " + camera + " ! fakesink sync=false " + overlay +
                   " ! fakesink sync=false";
        return "gst-launch-1.0 -q compositor name=c sink_0::zorder=0 sink_1::xpos=100 "
               "sink_1::ypos=100 sink_1::zorder=1 ! video/x-raw,format=BGRA,width=1920,height=1080 "
               "! fakesink sync=false " +
               camera + " ! c.sink_0 " + overlay + " ! c.sink_1";
    });
}

std::optional<double> ffmpegOverlayCpuMs() {
    const Pictures pictures;
    if (pictures.folder.empty()) return std::nullopt;
    return frameCpuMs([&](bool isComposited, int frames) {
        const std::string sources = "[0]format=bgra,loop=-1:1[camera];"
                                    "[1]format=bgra,loop=-1:1[overlay];";
        const std::string drawing = isComposited
                                        ? "[camera][overlay]overlay=100:100:format=rgb[out]"
                                        : "[overlay]nullsink;[camera]null[out]";
        return "ffmpeg -nostdin -i " + (pictures.folder / "camera.png").string() + " -i " +
               (pictures.folder / "overlay.png").string() + " -filter_complex '" + sources +
               drawing + "' -map '[out]' -frames:v " + std::to_string(frames) + " -f null -";
    });
}

} // namespace lanternfly::bench
