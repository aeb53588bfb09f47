// What video nodes say of themselves, in our terms.
#include <cerrno>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Identity.h"
#include "platform/linux/v4l2/CameraModes.h"
#include "platform/linux/v4l2/KnownNodes.h"
#include "platform/linux/v4l2/NodeFacts.h"
#include "platform/linux/v4l2/PixelFormats.h"

namespace lanternfly::v4l2 {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

TEST(PixelFormatsTest, FourccsAreReadable) {
    EXPECT_EQ(fourccText(V4L2_PIX_FMT_MJPEG), "MJPG");
    EXPECT_EQ(fourccText(V4L2_PIX_FMT_YUYV), "YUYV");
    EXPECT_EQ(fourccText(V4L2_PIX_FMT_Y16), "Y16");
    EXPECT_EQ(fourccText(0x00010a1b), "????");
}

TEST(PixelFormatsTest, WhatIsNoColourPictureIsNotDecoded) {
    for (const uint32_t fourcc : {V4L2_PIX_FMT_GREY, V4L2_PIX_FMT_Y16, V4L2_PIX_FMT_H264,
                                  V4L2_PIX_FMT_SBGGR8, V4L2_PIX_FMT_Z16, 0u})
        EXPECT_EQ(encodingOf(fourcc), std::nullopt) << fourccText(fourcc);
    EXPECT_EQ(encodingOf(V4L2_PIX_FMT_NV12), FrameEncoding::nv12);
    EXPECT_EQ(encodingOf(V4L2_PIX_FMT_JPEG), FrameEncoding::mjpeg);
}

TEST(PixelFormatsTest, PlainPicturesAreLikedBetterThanCompressedOnes) {
    EXPECT_LT(rankOf(V4L2_PIX_FMT_YUYV), rankOf(V4L2_PIX_FMT_NV12));
    EXPECT_LT(rankOf(V4L2_PIX_FMT_RGB24), rankOf(V4L2_PIX_FMT_MJPEG));
    EXPECT_LT(rankOf(V4L2_PIX_FMT_MJPEG), rankOf(V4L2_PIX_FMT_H264));
}

TEST(PixelFormatsTest, RatesAreTheInverseOfIntervals) {
    EXPECT_EQ(rateOf({1, 30}), 30);
    EXPECT_EQ(rateOf({333333, 10000000}), 30) << "1/30 s in units of 100 ns";
    EXPECT_NEAR(rateOf({1001, 30000}), 29.97, 1e-3);
    EXPECT_EQ(rateOf({2, 15}), 7.5);
    EXPECT_EQ(rateOf({0, 30}), 0);
    EXPECT_EQ(rateOf({1, 0}), 0);
}

TEST(PixelFormatsTest, AFrameDurationIsAnIntervalForTheDriver) {
    const auto interval = intervalOf(MediaTime::make(1, 30));
    ASSERT_TRUE(interval);
    EXPECT_EQ(interval->numerator, 1u);
    EXPECT_EQ(interval->denominator, 30u);
    EXPECT_FALSE(intervalOf(MediaTime::invalid()));
    EXPECT_FALSE(intervalOf(MediaTime::make(0, 30)));
    EXPECT_FALSE(intervalOf(MediaTime::make(int64_t{1} << 40, 30)));
}

TEST(PixelFormatsTest, ColoursAreTheDriversOrThoseOfItsColourSpace) {
    using Matrix = FrameColour::Matrix;
    v4l2_pix_format format{};
    format.colorspace = V4L2_COLORSPACE_SRGB;
    EXPECT_EQ(colourOf(format), (FrameColour{Matrix::bt601, false}));
    format.colorspace = V4L2_COLORSPACE_REC709;
    EXPECT_EQ(colourOf(format), (FrameColour{Matrix::bt709, false}));
    format.quantization = V4L2_QUANTIZATION_FULL_RANGE;
    EXPECT_EQ(colourOf(format), (FrameColour{Matrix::bt709, true}));
    format.ycbcr_enc = V4L2_YCBCR_ENC_BT2020;
    EXPECT_EQ(colourOf(format), (FrameColour{Matrix::bt2020, true}));
    format = {};
    format.colorspace = V4L2_COLORSPACE_JPEG;
    EXPECT_EQ(colourOf(format), (FrameColour{Matrix::bt601, true}));
}

TEST(CameraModesTest, TheUsualSizesOfARangeAndItsLargestAreOffered) {
    EXPECT_THAT(sizesIn({48, 2592, 2, 32, 1944, 2}),
                ElementsAre(Size{1920, 1080}, Size{1280, 720}, Size{960, 540}, Size{640, 480},
                            Size{640, 360}, Size{320, 240}, Size{2592, 1944}));
    EXPECT_THAT(sizesIn({16, 640, 16, 16, 480, 16}), ElementsAre(Size{640, 480}, Size{320, 240}))
        << "only in steps";
    EXPECT_THAT(sizesIn({0, 1 << 30, 0, 0, 1 << 30, 0}), testing::SizeIs(6))
        << "a largest that is no picture";
    EXPECT_THAT(sizesIn({10, 5, 1, 10, 5, 1}), testing::SizeIs(testing::Le(1u)));
}

TEST(CameraModesTest, ModesAreSortedByHowTheirPixelsAreLiked) {
    const CameraMode jpeg{V4L2_PIX_FMT_MJPEG, 1920, 1080, {{30, 30}}};
    const CameraMode large{V4L2_PIX_FMT_YUYV, 1920, 1080, {{5, 5}}};
    const CameraMode small{V4L2_PIX_FMT_YUYV, 640, 480, {{30, 30}}};
    const CameraMode grey{V4L2_PIX_FMT_GREY, 640, 480, {{30, 30}}};
    const CameraMode empty{V4L2_PIX_FMT_YUYV, 0, 480, {{30, 30}}};
    EXPECT_THAT(sortedModes({jpeg, grey, large, empty, small}), ElementsAre(large, small, jpeg));
    EXPECT_EQ(formatOf(jpeg), (CameraFormat{1920, 1080, {{30, 30}}, false, "MJPG"}));
}

NodeFacts webcam() {
    NodeFacts facts;
    facts.syspath = "/sys/devices/pci0000:00/usb1/1-3/1-3:1.0/video4linux/video0";
    facts.node = "/dev/video0";
    facts.byId = "usb-Maker_HD_Webcam_1234-video-index0";
    facts.byPath = "pci-0000:00:14.0-usb-0:3:1.0-video-index0";
    facts.driver = "uvcvideo";
    facts.card = "HD Webcam";
    facts.busInfo = "usb-0000:00:14.0-3";
    facts.hasUsbParent = true;
    facts.removable = "removable";
    facts.manufacturer = "Maker";
    facts.product = "HD Webcam 9";
    return facts;
}

NodeFacts loopback(const std::string& label) {
    NodeFacts facts;
    facts.syspath = "/sys/devices/virtual/video4linux/video9";
    facts.node = "/dev/video9";
    facts.driver = "v4l2 loopback";
    facts.card = label;
    facts.busInfo = "platform:v4l2loopback-000";
    return facts;
}

TEST(NodeFactsTest, AUsbCameraThatIsFixedIsBuiltIn) {
    auto facts = webcam();
    EXPECT_EQ(typeOf(facts), CameraDeviceType::external);
    EXPECT_EQ(transportTypeOf(facts), CameraTransportType::usb);
    for (const char* removable : {"unknown", ""}) {
        facts.removable = removable;
        EXPECT_EQ(typeOf(facts), CameraDeviceType::external);
    }
    facts.removable = "fixed";
    EXPECT_EQ(typeOf(facts), CameraDeviceType::builtInWideAngleCamera);
    EXPECT_EQ(transportTypeOf(facts), CameraTransportType::builtIn);
}

TEST(NodeFactsTest, ASensorOnTheBoardIsBuiltInAndACaptureCardIsNot) {
    NodeFacts facts;
    facts.syspath = "/sys/devices/platform/isp/video4linux/video0";
    EXPECT_EQ(typeOf(facts), CameraDeviceType::builtInWideAngleCamera);
    facts.hasPciParent = true;
    EXPECT_EQ(typeOf(facts), CameraDeviceType::external);
    EXPECT_EQ(transportTypeOf(facts), CameraTransportType::unknown);
}

TEST(NodeFactsTest, NodesWithoutHardwareAndLoopbacksAreVirtual) {
    auto facts = loopback("Painter");
    EXPECT_TRUE(isVirtual(facts));
    EXPECT_EQ(typeOf(facts), CameraDeviceType::external);
    EXPECT_EQ(transportTypeOf(facts), CameraTransportType::virtualDevice);
    facts.driver = "other";
    EXPECT_TRUE(isVirtual(facts)) << "by its place";
    facts.driver = "v4l2 loopback";
    facts.syspath = "/sys/devices/platform/loopback/video4linux/video9";
    EXPECT_TRUE(isVirtual(facts)) << "by its driver";
    EXPECT_FALSE(isVirtual(webcam()));
}

TEST(NodeFactsTest, OurOwnVirtualCameraIsKnownByItsName) {
    for (const char* label : {"Lanternfly", "Lanternfly Virtual Camera"}) {
        EXPECT_EQ(manufacturerOf(loopback(label)), identity::manufacturer);
        EXPECT_EQ(modelOf(loopback(label)), "Lanternfly Virtual Camera");
    }
    EXPECT_EQ(manufacturerOf(loopback("Painter")), "");
    EXPECT_EQ(modelOf(loopback("Painter")), "Painter");
    auto facts = webcam();
    facts.card = "Lanternfly";
    EXPECT_EQ(manufacturerOf(facts), "Maker") << "hardware of that name is not ours";
}

TEST(NodeFactsTest, NamesAreFitToBeShown) {
    auto facts = webcam();
    EXPECT_EQ(nameOf(facts), "HD Webcam");
    facts.card = "Integrated Camera: Integrated C";
    EXPECT_EQ(nameOf(facts), "Integrated Camera") << "doubled, and cut off by the driver";
    facts.card = "USB Cam: Front";
    EXPECT_EQ(nameOf(facts), "USB Cam: Front");
    facts.card = "\x1b[31mred\n";
    EXPECT_EQ(nameOf(facts), "[31mred");
    facts.card = "";
    facts.sysfsName = "Sysfs name";
    EXPECT_EQ(nameOf(facts), "Sysfs name");
    facts.sysfsName = "";
    EXPECT_EQ(nameOf(facts), "HD Webcam 9");
    facts.product = "";
    EXPECT_EQ(nameOf(facts), "Camera /dev/video0");
    facts.card = ": ";
    EXPECT_EQ(nameOf(facts), ":");
}

TEST(NodeFactsTest, TheIdentifierIsTheLinkById) {
    EXPECT_EQ(idOf(webcam(), {}), "usb-Maker_HD_Webcam_1234-video-index0");
}

TEST(NodeFactsTest, TwinsWithoutSerialNumbersAreToldApartByTheirPort) {
    const auto facts = webcam();
    EXPECT_EQ(idOf(facts, {facts.byId}), "usb-Maker_HD_Webcam_1234-video-index0@"
                                         "pci-0000:00:14.0-usb-0:3:1.0-video-index0");
}

TEST(NodeFactsTest, WithoutLinksTheBusOrTheNodeIdentifies) {
    auto facts = loopback("Painter");
    EXPECT_EQ(idOf(facts, {}), "v4l2:platform:v4l2loopback-000");
    facts.busInfo = "";
    EXPECT_EQ(idOf(facts, {}), "v4l2:/dev/video9");
    EXPECT_EQ(idOf(facts, {"v4l2:/dev/video9"}), facts.syspath);
}

TEST(KnownNodesTest, AnIdentifierStaysWithItsCameraWhileATwinComesAndGoes) {
    KnownNodes nodes;
    auto first = webcam(), twin = webcam();
    twin.syspath = "/sys/devices/pci0000:00/usb1/1-1/1-1:1.0/video4linux/video2";
    twin.node = "/dev/video2";
    twin.byPath = "another port";
    const std::string id = nodes.add(first);
    const std::string twinId = nodes.add(twin);
    EXPECT_NE(id, twinId);
    EXPECT_EQ(nodes.add(first), id);
    EXPECT_EQ(nodes.add(twin), twinId);
    EXPECT_EQ(nodes.placeOf(twinId).value().node, "/dev/video2");

    ASSERT_TRUE(nodes.removeNode(first.syspath));
    EXPECT_EQ(nodes.add(twin), twinId) << "though the shorter identifier is free again";
    EXPECT_FALSE(nodes.placeOf(id));
}

TEST(KnownNodesTest, ACameraIsRemovedOnce) {
    KnownNodes nodes;
    const std::string id = nodes.add(webcam());
    const uint64_t arrival = nodes.placeOf(id).value().arrival;
    const auto removed = nodes.removeArrival(arrival);
    ASSERT_TRUE(removed);
    EXPECT_EQ(removed->uniqueID, id);
    EXPECT_EQ(removed->localizedName, "HD Webcam");
    EXPECT_FALSE(nodes.removeArrival(arrival));
    EXPECT_FALSE(nodes.removeNode(webcam().syspath));
    EXPECT_EQ(nodes.add(webcam()), id) << "and comes back as itself";
    EXPECT_FALSE(nodes.removeArrival(arrival)) << "whoever held the one that left says so late";
    EXPECT_TRUE(nodes.placeOf(id));
}

TEST(KnownNodesTest, AnotherCameraInTheSamePortIsAnotherCamera) {
    KnownNodes nodes;
    auto other = webcam();
    other.byId = "usb-Other_Camera_1-video-index0";
    nodes.add(webcam());
    EXPECT_EQ(nodes.add(other), other.byId);
}

TEST(V4l2ErrorTest, SaysWhatToDo) {
    using Kind = CameraError::Kind;
    const auto denied = errorOf(EACCES, "Cam");
    EXPECT_EQ(denied.kind, Kind::denied);
    EXPECT_THAT(denied.what(), HasSubstr("usermod -aG video"));
    EXPECT_EQ(errorOf(EBUSY, "Cam").kind, Kind::busy);
    for (const int code : {ENODEV, ENOENT, ENXIO})
        EXPECT_EQ(errorOf(code, "Cam").kind, Kind::disconnected);
    EXPECT_THAT(errorOf(ENOSPC, "Cam").what(), HasSubstr("USB port"));
    EXPECT_EQ(errorOf(EIO, "Cam").kind, Kind::failed);
    for (const int code : {EACCES, EBUSY, ENODEV, ENOSPC, EIO})
        EXPECT_THAT(errorOf(code, "Cam").what(), HasSubstr("Cam"));
}

} // namespace
} // namespace lanternfly::v4l2
