// The virtual camera as other programs see it, in a PipeWire session of the test's own.
#include "platform/linux/pipewire/VirtualCamera.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/linux/camera/FrameDecoder.h"
#include "support/ColourBars.h"
#include "support/FrameSender.h"
#include "support/LogCapture.h"
#include "support/PrivatePipeWire.h"
#include "support/RunningProgram.h"
#include "support/Shell.h"
#include "support/StateWaiter.h"

namespace lanternfly::test {
namespace {

using State = FrameSinkStatus::State;
using testing::HasSubstr;
namespace fs = std::filesystem;

constexpr int width = 640, height = 360;
// Of colours that went to YUV and back.
constexpr int tolerance = 4;

class VirtualCameraTest : public testing::Test {
protected:
    static void SetUpTestSuite() {
        missing = PrivatePipeWire::missing();
        if (missing.empty() && shell("gst-inspect-1.0 pipewiresrc").exitCode != 0)
            missing = "gstreamer1.0-pipewire is not installed (make deps)";
        if (!missing.empty()) return;
        session = std::make_unique<PrivatePipeWire>();
        ASSERT_TRUE(session->start()) << session->log();
    }
    static void TearDownTestSuite() { session = nullptr; }

    void SetUp() override {
        if (!missing.empty()) GTEST_SKIP() << missing;
        create();
        ASSERT_TRUE(states->waitFor(State::idle));
        ASSERT_FALSE(listed().is_null());
    }
    void TearDown() override {
        camera = nullptr;
        if (HasFailure()) std::cerr << session->log();
    }
    // Each has a name of its own: the session manager may not have noticed yet that the last one
    // went.
    void create() {
        static int count = 0;
        name = "Lanternfly" + std::to_string(++count);
        camera = std::make_unique<pipewire::VirtualCamera>(
            pipewire::VirtualCameraDescription{.name = name,
                                               .manufacturer = "Test Makers",
                                               .model = "Test Camera",
                                               .streamTag = "test.Video"});
        states = std::make_unique<StateWaiter>(*camera);
    }
    // The node as other programs see it, which is a little later than the camera itself does; null
    // when they do not after a long time.
    nlohmann::json listed() {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while (std::chrono::steady_clock::now() < end)
            for (const auto& object :
                 nlohmann::json::parse(shell("pw-dump").output, nullptr, false))
                if (object.value("type", "") == "PipeWire:Interface:Node" &&
                    object["info"]["props"].value("node.name", "") == name)
                    return object["info"];
        return {};
    }
    // A program that takes `count` frames into a file, or as many as it gets.
    std::unique_ptr<RunningProgram> reader(const std::string& to, const std::string& format,
                                           int count = -1) {
        const fs::path file = session->folder() / to;
        fs::remove(file);
        return std::make_unique<RunningProgram>(
            "gst-launch-1.0 -q pipewiresrc target-object=" + name +
                " num-buffers=" + std::to_string(count) + " ! video/x-raw,format=" + format +
                ",width=640,height=360 ! filesink buffer-mode=unbuffered location=" + quoted(file),
            session->folder().path(), session->folder() / (to + ".log"));
    }
    bool hasRead(RunningProgram& program, const std::string& to, size_t frames) {
        const fs::path file = session->folder() / to;
        return program.waitFor([&] {
            std::error_code ignored;
            return fs::exists(file) && fs::file_size(file, ignored) >= frames * frameBytes;
        });
    }
    // The last whole frame of a file, made BGRA.
    PixelBufferRef lastFrame(const std::string& from, FrameEncoding encoding) {
        auto decoder = FrameDecoder::create({.encoding = encoding,
                                             .width = width,
                                             .height = height,
                                             .strideBytes = 0,
                                             .colour = {}});
        const size_t bytes = decoder->layout().minimumBytes();
        const std::string file = contents(session->folder() / from);
        if (file.size() < bytes) return nullptr;
        const auto* const frames = reinterpret_cast<const uint8_t*>(file.data());
        auto picture = PixelBuffer::create(width, height);
        decoder->decode({frames + (file.size() / bytes - 1) * bytes, bytes}, *picture);
        return picture;
    }

    static inline std::unique_ptr<PrivatePipeWire> session;
    static inline std::string missing;
    static constexpr size_t frameBytes = size_t{width} * height * 2; // of YUY2

    LogCapture log;
    std::string name;
    std::unique_ptr<StateWaiter> states; // outlives the camera
    std::unique_ptr<pipewire::VirtualCamera> camera;
};

TEST_F(VirtualCameraTest, IsACameraThatOffersWhatBrowsersTake) {
    const nlohmann::json found = listed();
    ASSERT_FALSE(found.is_null()) << "no node of this name";
    const auto& properties = found["props"];
    EXPECT_EQ(properties["media.class"], "Video/Source");
    EXPECT_EQ(properties["media.role"], "Camera");
    EXPECT_EQ(properties["node.description"], name);
    EXPECT_EQ(properties["device.vendor.name"], "Test Makers");
    EXPECT_EQ(properties["device.product.name"], "Test Camera");
    const auto& formats = found["params"]["EnumFormat"];
    ASSERT_GE(formats.size(), 3u);
    EXPECT_EQ(formats[0]["format"], "YUY2");
    EXPECT_EQ(formats[0]["size"]["width"], 1920);
    EXPECT_EQ(formats[0]["size"]["height"], 1080);
    EXPECT_EQ(formats[0]["framerate"]["num"], 30);
    std::vector<std::string> names;
    for (const auto& format : formats)
        names.push_back(format["format"]);
    EXPECT_THAT(names, testing::Contains("NV12"));
    EXPECT_THAT(names, testing::Contains("BGRx"));
}

TEST_F(VirtualCameraTest, AnotherProgramReadsEachFormat) {
    const FrameSender sender(*camera, colourBars(1280, 720));
    for (const auto& [format, encoding] : {std::pair{"YUY2", FrameEncoding::yuyv},
                                           {"NV12", FrameEncoding::nv12},
                                           {"BGRx", FrameEncoding::bgrx}}) {
        SCOPED_TRACE(format);
        const auto program = reader("frames", format, 3);
        EXPECT_EQ(program->wait(), 0) << contents(session->folder() / "frames.log");
        const auto picture = lastFrame("frames", encoding);
        ASSERT_TRUE(picture);
        EXPECT_LE(worstBarError(*picture), tolerance);
        ASSERT_TRUE(states->waitFor(State::idle));
    }
}

TEST_F(VirtualCameraTest, TwoProgramsReadItAtOnce) {
    const FrameSender sender(*camera, colourBars(width, height));
    const auto first = reader("first", "YUY2"), second = reader("second", "YUY2");
    ASSERT_TRUE(hasRead(*first, "first", 2));
    ASSERT_TRUE(hasRead(*second, "second", 2));
    EXPECT_TRUE(camera->isWatched());
    // One goes without a word; the other reads on.
    second->kill(SIGKILL);
    second->wait();
    const auto before = fs::file_size(session->folder() / "first") / frameBytes;
    EXPECT_TRUE(hasRead(*first, "first", before + 3));
    EXPECT_TRUE(camera->isWatched());
    EXPECT_LE(worstBarError(*lastFrame("first", FrameEncoding::yuyv)), tolerance);
    first->kill(SIGKILL);
    EXPECT_TRUE(states->waitFor(State::idle));
    EXPECT_FALSE(camera->isWatched());
}

TEST_F(VirtualCameraTest, WhoComesLaterSeesTheLastPicture) {
    camera->send(colourBars(width, height), MediaTime::make(1, 30));
    const auto program = reader("late", "YUY2", 2);
    EXPECT_EQ(program->wait(), 0) << contents(session->folder() / "late.log");
    EXPECT_LE(worstBarError(*lastFrame("late", FrameEncoding::yuyv)), tolerance);
}

TEST_F(VirtualCameraTest, AProgramThatStandsStillDelaysNobody) {
    const FrameSender sender(*camera, colourBars(width, height));
    const auto program = reader("frozen", "YUY2");
    ASSERT_TRUE(hasRead(*program, "frozen", 2));
    program->kill(SIGSTOP);
    const auto frame = colourBars(width, height);
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    for (int64_t i = 1;
         camera->status().droppedFrames < 20 && std::chrono::steady_clock::now() < end; ++i) {
        camera->send(frame, MediaTime::make(i * 10, 1));
        std::this_thread::yield();
    }
    EXPECT_GE(camera->status().droppedFrames, 20u);
    program->kill(SIGCONT);
    const auto before = fs::file_size(session->folder() / "frozen") / frameBytes;
    EXPECT_TRUE(hasRead(*program, "frozen", before + 5)) << "goes on";
}

TEST_F(VirtualCameraTest, IsBackAfterARestartOfPipeWire) {
    const FrameSender sender(*camera, colourBars(width, height));
    auto program = reader("before", "YUY2");
    ASSERT_TRUE(hasRead(*program, "before", 2));
    session->kill();
    ASSERT_TRUE(states->waitFor(State::waiting));
    EXPECT_FALSE(camera->isWatched());
    program->kill(SIGKILL);
    program->wait();
    ASSERT_TRUE(session->start());
    ASSERT_TRUE(states->waitFor(State::idle));
    ASSERT_FALSE(listed().is_null());
    program = reader("after", "YUY2", 3);
    EXPECT_EQ(program->wait(), 0) << contents(session->folder() / "after.log");
    EXPECT_LE(worstBarError(*lastFrame("after", FrameEncoding::yuyv)), tolerance);
}

TEST_F(VirtualCameraTest, WaitsForAPipeWireThatDoesNotRunAndSaysSoOnce) {
    camera = nullptr;
    session->kill();
    create();
    EXPECT_EQ(camera->status().state, State::waiting);
    EXPECT_THAT(camera->status().problem, HasSubstr("systemctl --user start pipewire"));
    camera->send(colourBars(64, 36), MediaTime::make(1, 30));
    EXPECT_EQ(log.count(camera->status().problem), 1u);
    ASSERT_TRUE(session->start());
    ASSERT_TRUE(states->waitFor(State::idle));
    EXPECT_EQ(camera->status().problem, "");
    EXPECT_TRUE(log.contains("virtual camera works"));
}

} // namespace
} // namespace lanternfly::test
