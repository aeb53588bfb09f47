// Drives a live show as a user does: the built program with a camera, and commands sent to it.
// Threads: value.
#pragma once

#include <memory>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <poll.h>

#include "base/Clock.h"
#include "support/RunningProgram.h"
#include "support/Shell.h"
#include "support/TemporaryFolder.h"

namespace lanternfly::test {

struct PresentFixture : testing::Test {
    using Json = nlohmann::json;

    TemporaryFolder folder;
    const std::string deck = quoted(std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "demo/deck.pdf");
    std::unique_ptr<RunningProgram> show;

    // Not the settings, shows and windows of who runs the tests.
    std::string environment() const {
        return "env -u DISPLAY -u WAYLAND_DISPLAY XDG_CONFIG_HOME=" + quoted(folder / "config") +
               " XDG_RUNTIME_DIR=" + quoted(folder.path()) + " ";
    }
    ShellResult lanternfly(const std::string& arguments) const {
        return shell("cd " + quoted(folder.path()) + " && " + environment() +
                     LANTERNFLY_PROGRAM " " + arguments);
    }
    // Small frames: every machine keeps up with them.
    void present(const std::string& arguments) {
        show = std::make_unique<RunningProgram>(
            environment() + LANTERNFLY_PROGRAM " present --no-window --size 320x180 " + arguments,
            folder.path(), folder / "said");
    }
    std::string said() const { return contents(folder / "said"); }

    static bool waitUntil(const std::function<bool()>& condition) {
        constexpr double patienceSeconds = 60;
        const double end = SystemClock::shared().uptimeSeconds() + patienceSeconds;
        while (!condition()) {
            if (SystemClock::shared().uptimeSeconds() > end) return false;
            constexpr int lookAgainMs = 50;
            poll(nullptr, 0, lookAgainMs);
        }
        return true;
    }
    // Null when no show listens.
    Json status() const {
        const auto run = lanternfly("send status");
        return run.exitCode == 0 ? Json::parse(run.output, nullptr, false) : Json();
    }
    // False when the show does not come to it.
    bool comesTo(const std::function<bool(const Json&)>& state) const {
        return waitUntil([&] {
            const Json now = status();
            return now.is_object() && state(now);
        });
    }
    bool isShowingFrames(int atLeast = 3) const {
        return comesTo([&](const Json& now) { return now["frames"] >= atLeast; });
    }
    int end(int signal = SIGTERM) const {
        show->kill(signal);
        return show->wait();
    }
};

} // namespace lanternfly::test
