// Loopback devices played through umockdev, held to what every sink promises.
#include "platform/linux/v4l2/LoopbackSink.h"

#include <csignal>
#include <fstream>
#include <iterator>
#include <sys/resource.h>
#include <unistd.h>

#include <gmock/gmock.h>

#include "contract/frame_sink/FrameSinkContract.h"
#include "platform/linux/v4l2/VideoNodes.h"
#include "support/MockVideoNode.h"

namespace lanternfly::test {
namespace {

using testing::HasSubstr;
using v4l2::LoopbackOptions;
using v4l2::LoopbackSink;

constexpr int width = 320, height = 180;
constexpr size_t frameBytes = size_t{width} * height * 2;
constexpr uint64_t soonNanos = 1'000'000;

MockVideoNode::Description loopback(int number, const std::string& card,
                                    uint32_t fourcc = V4L2_PIX_FMT_YUYV) {
    return {.number = number,
            .card = card,
            .driver = "v4l2 loopback",
            .removable = "",
            .byId = "",
            .modes = {{fourcc, width, height, {{1, 30}}}},
            .capabilities = V4L2_CAP_VIDEO_OUTPUT | V4L2_CAP_READWRITE};
}

// What was written to a node first; nodes are ordinary files here.
PixelBufferRef firstPicture(const MockMachine& machine, const MockVideoNode& node,
                            FrameEncoding encoding = FrameEncoding::yuyv) {
    std::ifstream file(machine.root() + node.node(), std::ios::binary);
    std::vector<char> bytes(frameBytes);
    file.read(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    auto decoder = FrameDecoder::create({.encoding = encoding,
                                         .width = width,
                                         .height = height,
                                         .strideBytes = size_t{width} * 2,
                                         .colour = {}});
    auto picture = PixelBuffer::create(width, height);
    decoder->decode({reinterpret_cast<const uint8_t*>(bytes.data()), bytes.size()}, *picture);
    return picture;
}

class LoopbackMaker final : public FrameSinkMaker {
public:
    LoopbackMaker() : _node(_machine, loopback(0, "Loopback")) { _node.plug(); }
    std::unique_ptr<FrameSink> make() override {
        return std::make_unique<LoopbackSink>(LoopbackOptions{.node = _node.node(), .label = {}});
    }
    bool isAlwaysWatched() const override { return true; }
    PixelBufferRef lastPicture() override { return firstPicture(_machine, _node); }
    int tolerance() const override { return 4; }

private:
    MockMachine _machine;
    MockVideoNode _node;
};

std::string missing() {
    return MockMachine::isAvailable() ? "" : "umockdev is not preloaded: use ctest";
}

INSTANTIATE_TEST_SUITE_P(Implementations, FrameSinkContract,
                         testing::Values(FrameSinkParameter{
                             "Loopback", missing,
                             [] { return std::make_unique<LoopbackMaker>(); }}),
                         nameOfSink);

class LoopbackSinkTest : public testing::Test {
protected:
    void SetUp() override {
        if (const std::string why = missing(); !why.empty()) GTEST_SKIP() << why;
        machine = std::make_unique<MockMachine>();
    }
    MockVideoNode& plug(MockVideoNode::Description description) {
        nodes.push_back(std::make_unique<MockVideoNode>(*machine, std::move(description)));
        nodes.back()->plug();
        return *nodes.back();
    }
    static std::string failureOf(const LoopbackOptions& options) {
        try {
            LoopbackSink sink(options);
        } catch (const CameraError& error) {
            return error.what();
        }
        return "opened";
    }
    static bool sendUntilSent(FrameSink& sink, uint64_t count) {
        const auto frame = colourBars(640, 360);
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        for (int64_t i = 0;
             sink.status().sentFrames < count && std::chrono::steady_clock::now() < end; ++i) {
            sink.send(frame, MediaTime::make(i, 30));
            std::this_thread::yield();
        }
        return sink.status().sentFrames >= count;
    }

    LogCapture log;
    std::unique_ptr<MockMachine> machine;
    std::vector<std::unique_ptr<MockVideoNode>> nodes;
};

TEST_F(LoopbackSinkTest, FindsTheDeviceThatBearsTheLabel) {
    plug({.number = 0});
    plug(loopback(1, "Other loopback"));
    plug(loopback(2, "Lanternfly"));
    EXPECT_EQ(LoopbackSink({.node = {}, .label = "Lanternfly"}).name(), "/dev/video2");
    EXPECT_EQ(LoopbackSink({.node = {}, .label = "No such label"}).name(), "/dev/video1");
    EXPECT_EQ(v4l2::outputNodes().size(), 2u);
}

TEST_F(LoopbackSinkTest, SaysHowToGetADevice) {
    plug({.number = 0});
    for (const LoopbackOptions& options : {LoopbackOptions{.node = {}, .label = {}},
                                           LoopbackOptions{.node = "/dev/video7", .label = {}},
                                           LoopbackOptions{.node = "/dev/video0", .label = {}}})
        EXPECT_THAT(failureOf(options), HasSubstr("modprobe v4l2loopback"));
    EXPECT_THAT(failureOf({.node = "/dev/video7", .label = {}}), HasSubstr("there is no"));
    EXPECT_THAT(failureOf({.node = "/dev/video0", .label = {}}), HasSubstr("takes no pictures"));
}

TEST_F(LoopbackSinkTest, SaysWhyADeviceIsRefused) {
    auto& node = plug(loopback(0, "Loopback"));
    node.fail(VIDIOC_S_FMT, EBUSY);
    EXPECT_THAT(failureOf({.node = node.node(), .label = {}}), HasSubstr("in use by another"));
    node.fail(VIDIOC_S_FMT, 0);
    EXPECT_EQ(failureOf({.node = node.node(), .label = {}}), "opened");
    auto& jpeg = plug(loopback(1, "Loopback", V4L2_PIX_FMT_MJPEG));
    EXPECT_THAT(failureOf({.node = jpeg.node(), .label = {}}), HasSubstr("320x180 MJPG"));
    if (::geteuid() == 0) return; // root may open everything
    node.deny();
    EXPECT_THAT(failureOf({.node = node.node(), .label = {}}), HasSubstr("no permission"));
}

TEST_F(LoopbackSinkTest, TakesTheFormatOnWhichTheDeviceInsists) {
    auto& node = plug(loopback(0, "Loopback", V4L2_PIX_FMT_UYVY));
    LoopbackSink sink({.node = node.node(), .label = {}});
    ASSERT_TRUE(sendUntilSent(sink, 1));
    sink.finish();
    EXPECT_LE(worstBarError(*firstPicture(*machine, node, FrameEncoding::uyvy)), 4);
}

TEST_F(LoopbackSinkTest, ADeviceThatFailsIsOpenedAgain) {
    auto& node = plug(loopback(0, "Loopback"));
    LoopbackSink sink({.node = node.node(), .label = {}, .beforeRetryNanos = soonNanos});
    ASSERT_TRUE(sendUntilSent(sink, 3));
    // The limit on a file's size makes writes fail; a device that is opened anew starts below it.
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit before{};
    getrlimit(RLIMIT_FSIZE, &before);
    const rlimit small{10 * frameBytes, before.rlim_max};
    setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_TRUE(sendUntilSent(sink, 25));
    setrlimit(RLIMIT_FSIZE, &before);
    const auto lines = log.lines();
    const auto failures = std::ranges::count_if(
        lines, [](const auto& line) { return line.message.starts_with("/dev/video0 failed"); });
    EXPECT_GE(failures, 1);
    EXPECT_TRUE(log.contains("/dev/video0 works"));
}

} // namespace
} // namespace lanternfly::test
