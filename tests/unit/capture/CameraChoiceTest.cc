#include "capture/CameraChoice.h"

#include <limits>
#include <unordered_set>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "base/Identity.h"
#include "capture/CameraFeed.h"
#include "platform/fake/ScriptedCameras.h"
#include "support/LogCapture.h"

namespace lanternfly {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using Kind = CameraDeviceInfo::Kind;
using Transport = CameraDeviceInfo::Transport;
using Type = CameraDeviceType;

CameraFormat format(int width, int height, std::vector<CameraRateRange> rates,
                    bool supportsReactions = false) {
    return {width, height, std::move(rates), supportsReactions, ""};
}

TEST(CameraFormatChoiceTest, FormatsWithReactionsDoNotCount) {
    EXPECT_EQ(chooseFormat({format(1920, 1080, {{30, 30}}, true), format(640, 480, {{30, 30}})}),
              1u);
    EXPECT_EQ(chooseFormat({format(1920, 1080, {{30, 30}}, true)}), std::nullopt);
    EXPECT_EQ(chooseFormat({}), std::nullopt);
}

TEST(CameraFormatChoiceTest, TheLargestUpToThePreferredSizeWins) {
    EXPECT_EQ(chooseFormat({format(1280, 720, {{30, 30}}), format(3840, 2160, {{30, 30}}),
                            format(1920, 1080, {{5, 5}}), format(1080, 1920, {{30, 30}})}),
              2u);
}

TEST(CameraFormatChoiceTest, AllCountWhenNoneIsSmallEnough) {
    EXPECT_EQ(chooseFormat({format(2560, 1440, {{30, 30}}), format(3840, 2160, {{30, 30}})}), 1u);
}

TEST(CameraFormatChoiceTest, ATooLargeFormatWithReactionsDoesNotMakeTheLimitCount) {
    EXPECT_EQ(chooseFormat({format(640, 480, {{30, 30}}, true), format(2560, 1440, {{30, 30}})}),
              1u);
}

TEST(CameraFormatChoiceTest, ThirtyFramesASecondDecideBetweenEqualSizes) {
    EXPECT_EQ(chooseFormat({format(1920, 1080, {{5, 5}}), format(1920, 1080, {{15, 60}})}), 1u);
    EXPECT_EQ(chooseFormat({format(1920, 1080, {{60, 60}}), format(1920, 1080, {{30, 30}})}), 1u);
}

TEST(CameraFormatChoiceTest, TheEarlierOfEqualFormatsWins) {
    EXPECT_EQ(chooseFormat({format(1280, 720, {{30, 30}}), format(1280, 720, {{30, 30}})}), 0u);
    EXPECT_EQ(chooseFormat({format(720, 1080, {{30, 30}}), format(1080, 720, {{30, 30}})}), 0u);
}

TEST(CameraFrameDurationTest, IsAThirtiethWhereARangeHasThirty) {
    EXPECT_EQ(chooseFrameDuration(format(1, 1, {{5, 10}, {15, 60}})), MediaTime::make(1, 30));
    EXPECT_EQ(chooseFrameDuration(format(1, 1, {{30, 30}})), MediaTime::make(1, 30));
}

TEST(CameraFrameDurationTest, IsElseTheFastestRateInWholeFrames) {
    EXPECT_EQ(chooseFrameDuration(format(1, 1, {{5, 10}, {14, 24.5}, {15, 15}})),
              MediaTime::make(1, 25));
    EXPECT_EQ(chooseFrameDuration(format(1, 1, {{60, 60}})), MediaTime::make(1, 60));
    EXPECT_EQ(chooseFrameDuration(format(1, 1, {{29.97, 29.97}})), MediaTime::make(1, 30));
}

TEST(CameraFrameDurationTest, AFormatWithoutRangesIsLeftAlone) {
    EXPECT_EQ(chooseFrameDuration(format(1, 1, {})), std::nullopt);
}

TEST(CameraFrameDurationTest, AbsurdRatesBecomePossibleOnes) {
    for (const double rate : {0.0, -5.0, 0.3, std::numeric_limits<double>::quiet_NaN()})
        EXPECT_EQ(chooseFrameDuration(format(1, 1, {{rate, rate}})), MediaTime::make(1, 1));
    EXPECT_EQ(chooseFrameDuration(format(1, 1, {{31, 1e300}})), MediaTime::make(1, 100'000));
}

class CameraPickTest : public testing::Test {
protected:
    std::vector<CameraDeviceRef> list() {
        return withoutOwnCamera(cameras.devices(cameraTypesByPriority), logger);
    }
    std::string picked(std::optional<std::string> preferred = {}) {
        const auto device = pickCamera(list(), preferred, logger);
        return device ? device->uniqueID() : "none";
    }
    std::vector<std::string> messages() {
        std::vector<std::string> texts;
        for (const auto& line : log.lines())
            texts.push_back(line.message);
        return texts;
    }

    test::LogCapture log;
    const Logger logger{"CameraFeed"};
    ScriptedCameras cameras;
};

TEST_F(CameraPickTest, BuiltInComesBeforeExternalAndExternalBeforeContinuity) {
    cameras.attach({.uniqueID = "phone", .type = Type::continuityCamera});
    EXPECT_EQ(picked(), "phone");
    cameras.attach({.uniqueID = "usb", .localizedName = "Desk", .type = Type::external});
    EXPECT_EQ(picked(), "usb");
    cameras.attach({.uniqueID = "front",
                    .localizedName = "Front",
                    .type = Type::builtInWideAngleCamera,
                    .transportType = CameraTransportType::builtIn});
    EXPECT_EQ(picked(), "front");
    EXPECT_THAT(messages(),
                ElementsAre("picked input phone (continuityCamera)", "picked input Desk (external)",
                            "picked input Front (builtInWideAngleCamera)"));
}

TEST_F(CameraPickTest, TheFirstOfATypeIsTaken) {
    cameras.attach({.uniqueID = "b"});
    cameras.attach({.uniqueID = "a"});
    EXPECT_EQ(picked(), "b");
}

TEST_F(CameraPickTest, ThePinnedCameraIsTakenWhateverItIs) {
    cameras.attach({.uniqueID = "front", .type = Type::builtInWideAngleCamera});
    cameras.attach({.uniqueID = "virtual",
                    .localizedName = "Painter",
                    .transportType = CameraTransportType::virtualDevice});
    EXPECT_EQ(picked("virtual"), "virtual");
    EXPECT_THAT(messages(), ElementsAre("picked pinned input Painter"));
}

TEST_F(CameraPickTest, AnAbsentPinnedCameraLeavesTheChoiceToPriority) {
    cameras.attach({.uniqueID = "usb"});
    cameras.attach({.uniqueID = "front", .type = Type::builtInWideAngleCamera});
    EXPECT_EQ(picked("gone"), "front");
    EXPECT_THAT(messages(),
                ElementsAre("pinned camera UID gone not currently available; falling back to "
                            "auto-pick",
                            "picked input front (builtInWideAngleCamera)"));
}

TEST_F(CameraPickTest, AnEmptyPinIsNone) {
    cameras.attach({.uniqueID = "usb"});
    EXPECT_EQ(picked(""), "usb");
    EXPECT_THAT(messages(), ElementsAre("picked input usb (external)"));
}

TEST_F(CameraPickTest, VirtualCamerasArePassedOverForRealOnes) {
    cameras.attach({.uniqueID = "virtual",
                    .localizedName = "Painter",
                    .transportType = CameraTransportType::virtualDevice});
    cameras.attach({.uniqueID = "phone", .type = Type::continuityCamera});
    EXPECT_EQ(picked(), "phone");
    EXPECT_THAT(messages(),
                ElementsAre("skipping virtual external camera Painter (transportType=virt)",
                            "picked input phone (continuityCamera)"));
}

TEST_F(CameraPickTest, TheFirstVirtualCameraIsUsedWhenThereIsNothingElse) {
    for (const char* name : {"first", "second"})
        cameras.attach({.uniqueID = name, .transportType = CameraTransportType::virtualDevice});
    EXPECT_EQ(picked(), "first");
    EXPECT_THAT(messages(),
                ElementsAre("skipping virtual external camera first (transportType=virt)",
                            "skipping virtual external camera second (transportType=virt)"));
}

TEST_F(CameraPickTest, TheOwnVirtualCameraIsNeverTaken) {
    cameras.attach({.uniqueID = "own",
                    .transportType = CameraTransportType::virtualDevice,
                    .manufacturer = identity::manufacturer,
                    .modelID = "Lanternfly Virtual Camera"});
    EXPECT_EQ(picked("own"), "none");
    EXPECT_THAT(messages(),
                ElementsAre("skipping Lanternfly virtual camera as input (would self-loop)",
                            "pinned camera UID own not currently available; falling back to "
                            "auto-pick"));
}

TEST_F(CameraPickTest, MakerAndModelMustBothBeOursToBeDropped) {
    cameras.attach({.uniqueID = "maker", .manufacturer = identity::manufacturer, .modelID = "Eye"});
    cameras.attach(
        {.uniqueID = "model", .manufacturer = "Other", .modelID = "Lanternfly Virtual Camera"});
    EXPECT_EQ(list().size(), 2u);
    EXPECT_THAT(messages(), IsEmpty());
}

TEST_F(CameraPickTest, DiscoveryListsByTypeThenByNameAndKeepsVirtualCameras) {
    cameras.attach({.uniqueID = "1",
                    .localizedName = "Zoo",
                    .type = Type::continuityCamera,
                    .transportType = CameraTransportType::continuity});
    cameras.attach({.uniqueID = "2", .localizedName = "Tower"});
    cameras.attach({.uniqueID = "3",
                    .localizedName = "Painter",
                    .transportType = CameraTransportType::virtualDevice});
    cameras.attach({.uniqueID = "4",
                    .localizedName = "Zebra",
                    .type = Type::builtInWideAngleCamera,
                    .transportType = CameraTransportType::builtIn});
    cameras.attach({.uniqueID = "own",
                    .localizedName = "Lanternfly",
                    .transportType = CameraTransportType::virtualDevice,
                    .manufacturer = identity::manufacturer,
                    .modelID = "Lanternfly Virtual Camera"});
    EXPECT_THAT(
        CameraFeed::discover(cameras),
        ElementsAre(CameraDeviceInfo{"4", "Zebra", Kind::builtIn, Transport::builtIn},
                    CameraDeviceInfo{"3", "Painter", Kind::external, Transport::virtualDevice},
                    CameraDeviceInfo{"2", "Tower", Kind::external, Transport::usb},
                    CameraDeviceInfo{"1", "Zoo", Kind::continuity, Transport::continuity}));
    EXPECT_EQ(log.lines().front().category, "CameraFeed.discover");
    EXPECT_THAT(
        messages(),
        ElementsAre("found device name=Zoo uid=1 type=continuityCamera transport=0x6172706C",
                    "found device name=Tower uid=2 type=external transport=0x75736220",
                    "found device name=Painter uid=3 type=external transport=0x76697274",
                    "found device name=Zebra uid=4 type=builtInWideAngleCamera "
                    "transport=0x626C746E",
                    "found device name=Lanternfly uid=own type=external transport=0x76697274",
                    "skipping Lanternfly virtual camera as input (would self-loop)"));
}

TEST_F(CameraPickTest, DiscoverySaysThatThereIsNothing) {
    cameras.attach({.uniqueID = "scanner", .type = Type::other});
    EXPECT_THAT(CameraFeed::discover(cameras), IsEmpty());
    EXPECT_THAT(messages(), ElementsAre("AVCaptureDevice.DiscoverySession returned no devices for "
                                        "[.continuityCamera, .external, "
                                        ".builtInWideAngleCamera]"));
}

TEST_F(CameraPickTest, AnUnknownTransportFollowsTheType) {
    cameras.attach(
        {.uniqueID = "phone", .type = Type::continuityCamera, .transportType = 0x70636920});
    cameras.attach({.uniqueID = "front", .type = Type::builtInWideAngleCamera, .transportType = 0});
    cameras.attach({.uniqueID = "card", .type = Type::external, .transportType = 0x70636920});
    const auto infos = CameraFeed::discover(cameras);
    ASSERT_EQ(infos.size(), 3u);
    EXPECT_EQ(infos[0].transport, Transport::builtIn);
    EXPECT_EQ(infos[1].transport, Transport::other);
    EXPECT_EQ(infos[2].transport, Transport::continuity);
    EXPECT_TRUE(infos[2].isContinuity());
    EXPECT_FALSE(infos[2].isVirtual());
    EXPECT_EQ(std::unordered_set<CameraDeviceInfo>(infos.begin(), infos.end()).size(), 3u);
}

} // namespace
} // namespace lanternfly
