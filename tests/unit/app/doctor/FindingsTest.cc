#include <fstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "app/doctor/Examination.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

using State = Finding::State;
using testing::HasSubstr;
namespace fs = std::filesystem;

// Whatever is not well says what to do, and what is well has nothing to say.
void expect(const Finding& finding, State state, const std::string& text,
            const std::string& whatToDo = "") {
    EXPECT_EQ(finding.state, state) << finding.about;
    EXPECT_THAT(finding.text, HasSubstr(text));
    EXPECT_EQ(finding.whatToDo.empty(), state == State::well) << finding.about;
    EXPECT_THAT(finding.whatToDo, HasSubstr(whatToDo));
}

TEST(Findings, Cameras) {
    const CameraDeviceInfo desk{.id = "desk", .name = "Desk Camera"};
    expect(cameraFinding(CameraAuthorization::authorized, {desk, desk}), State::well,
           "Desk Camera, Desk Camera");
    expect(cameraFinding(CameraAuthorization::authorized, {}), State::lacking, "no camera",
           "--camera demo");
    expect(cameraFinding(CameraAuthorization::denied, {}), State::wrong, "none of them",
           "usermod -aG video");
}

TEST(Findings, PipeWire) {
    expect(pipeWireFinding("/run/user/1/pipewire-0", true), State::well, "/run/user/1/pipewire-0");
    expect(pipeWireFinding("/run/user/1/pipewire-0", false), State::lacking, "nobody listens",
           "systemctl --user start pipewire");
    expect(pipeWireFinding(std::nullopt, false), State::lacking, "XDG_RUNTIME_DIR", "pipewire");
}

TEST(Findings, Portal) {
    const test::TemporaryFolder folder;
    expect(portalFinding({folder.path()}, false), State::lacking, "no session bus", "log in");
    expect(portalFinding({folder.path()}, true), State::lacking, "not installed", "apt install");
    fs::create_directories(folder / "dbus-1/services");
    std::ofstream(folder / "dbus-1/services/org.freedesktop.portal.Desktop.service") << "x";
    expect(portalFinding({"/nonexistent", folder.path()}, true), State::well, "installed");
}

TEST(Findings, Loopback) {
    const test::TemporaryFolder folder;
    const fs::path videoClass = folder / "class";
    fs::create_directories(videoClass);
    expect(loopbackFinding("/nonexistent"), State::lacking, "there is none", "modprobe");
    for (const char* device : {"devices/pci/video0", "devices/virtual/video4linux/video9"}) {
        fs::create_directories(folder / device);
        std::ofstream(folder / device / "name") << "Some Camera\n";
        fs::create_directory_symlink(folder / device, videoClass / fs::path(device).filename());
    }
    expect(loopbackFinding(videoClass), State::well, "/dev/video9 (Some Camera)");
    EXPECT_THAT(loopbackFinding(videoClass).text, testing::Not(HasSubstr("video0")));
}

TEST(Findings, DisplayControlAndSettings) {
    expect(displayFinding(false, true), State::well, "Wayland");
    expect(displayFinding(true, false), State::well, "X11");
    expect(displayFinding(false, false), State::lacking, "none", "--no-window");
    expect(controlFinding("/run/user/1/lanternfly/control.sock"), State::well, "control.sock");
    expect(controlFinding(std::nullopt), State::lacking, "XDG_RUNTIME_DIR", "lanternfly send");
    expect(settingsFinding({}), State::well, "can be read");
    expect(settingsFinding({"bindings.json: bad"}), State::wrong, "bindings.json", "edit");
}

TEST(Findings, Speed) {
    expect(speedFinding({.frameMs = 4, .handsMs = 20, .processors = 2}), State::well, "4.0 ms");
    expect(speedFinding({.frameMs = 10, .handsMs = 60, .processors = 2}), State::lacking, "60 ms",
           "--size 1280x720");
    expect(speedFinding({.frameMs = 40, .handsMs = 20, .processors = 8}), State::wrong, "40.0 ms",
           "--size 1280x720");
    expect(speedFinding({.frameMs = 4, .why = "no networks"}), State::wrong, "no networks",
           "install");
}

} // namespace
} // namespace lanternfly
