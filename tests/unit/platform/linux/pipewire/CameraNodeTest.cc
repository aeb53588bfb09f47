#include "platform/linux/pipewire/CameraNode.h"

#include <spa/pod/builder.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace lanternfly::pipewire {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// Parameter objects as nodes send them.
class Offer {
public:
    explicit Offer(uint32_t subtype = SPA_MEDIA_SUBTYPE_raw, uint32_t type = SPA_MEDIA_TYPE_video)
        : _builder{_bytes, sizeof _bytes, 0, {}, {}} {
        spa_pod_builder_push_object(&_builder, &_frame, SPA_TYPE_OBJECT_Format,
                                    SPA_PARAM_EnumFormat);
        prop(SPA_FORMAT_mediaType);
        spa_pod_builder_id(&_builder, type);
        prop(SPA_FORMAT_mediaSubtype);
        spa_pod_builder_id(&_builder, subtype);
    }
    Offer& formats(std::initializer_list<uint32_t> all) {
        prop(SPA_FORMAT_VIDEO_format);
        choice(all.size() == 1 ? SPA_CHOICE_None : SPA_CHOICE_Enum, [&] {
            for (const uint32_t format : all)
                spa_pod_builder_id(&_builder, format);
        });
        return *this;
    }
    Offer& sizes(uint32_t kind, std::initializer_list<spa_rectangle> all) {
        prop(SPA_FORMAT_VIDEO_size);
        choice(kind, [&] {
            for (const spa_rectangle& size : all)
                spa_pod_builder_rectangle(&_builder, size.width, size.height);
        });
        return *this;
    }
    Offer& rates(uint32_t kind, std::initializer_list<spa_fraction> all) {
        prop(SPA_FORMAT_VIDEO_framerate);
        choice(kind, [&] {
            for (const spa_fraction& rate : all)
                spa_pod_builder_fraction(&_builder, rate.num, rate.denom);
        });
        return *this;
    }
    std::vector<VideoFormat> read() {
        return formatsOf(*static_cast<const spa_pod*>(spa_pod_builder_pop(&_builder, &_frame)));
    }

private:
    void prop(uint32_t key) { spa_pod_builder_prop(&_builder, key, 0); }
    template <typename Body>
    void choice(uint32_t kind, Body&& body) {
        spa_pod_frame frame;
        spa_pod_builder_push_choice(&_builder, &frame, kind, 0);
        body();
        spa_pod_builder_pop(&_builder, &frame);
    }

    alignas(8) uint8_t _bytes[4096]{};
    spa_pod_builder _builder;
    spa_pod_frame _frame{};
};

TEST(CameraNodeTest, ReadsAPlainOffer) {
    EXPECT_THAT(Offer()
                    .formats({SPA_VIDEO_FORMAT_YUY2})
                    .sizes(SPA_CHOICE_None, {{1280, 720}})
                    .rates(SPA_CHOICE_None, {{25, 1}})
                    .read(),
                ElementsAre(VideoFormat{FrameEncoding::yuyv, 1280, 720, {25, 1}}));
    EXPECT_THAT(Offer(SPA_MEDIA_SUBTYPE_mjpg).sizes(SPA_CHOICE_None, {{640, 480}}).read(),
                ElementsAre(VideoFormat{FrameEncoding::mjpeg, 640, 480, {0, 1}}));
}

TEST(CameraNodeTest, ReadsChoicesAndRanges) {
    EXPECT_THAT(Offer()
                    .formats({SPA_VIDEO_FORMAT_NV12, SPA_VIDEO_FORMAT_NV12,
                              SPA_VIDEO_FORMAT_P010_10LE, SPA_VIDEO_FORMAT_I420})
                    .sizes(SPA_CHOICE_Enum, {{640, 480}, {640, 480}, {320, 240}})
                    .rates(SPA_CHOICE_Enum, {{60, 1}, {60, 1}, {30, 1}, {15, 1}})
                    .read(),
                ElementsAre(VideoFormat{FrameEncoding::nv12, 640, 480, {30, 1}},
                            VideoFormat{FrameEncoding::nv12, 320, 240, {30, 1}},
                            VideoFormat{FrameEncoding::i420, 640, 480, {30, 1}},
                            VideoFormat{FrameEncoding::i420, 320, 240, {30, 1}}));
    const auto any = Offer()
                         .formats({SPA_VIDEO_FORMAT_YUY2})
                         .sizes(SPA_CHOICE_Range, {{640, 480}, {1, 1}, {1280, 720}})
                         .rates(SPA_CHOICE_Range, {{20, 1}, {1, 1}, {20, 1}})
                         .read();
    ASSERT_FALSE(any.empty());
    EXPECT_EQ(any.front(), (VideoFormat{FrameEncoding::yuyv, 1280, 720, {20, 1}}));
    EXPECT_THAT(any, testing::Contains(VideoFormat{FrameEncoding::yuyv, 640, 480, {20, 1}}));
}

TEST(CameraNodeTest, LeavesOutWhatIsNoPicture) {
    EXPECT_THAT(Offer().read(), IsEmpty());
    EXPECT_THAT(Offer(SPA_MEDIA_SUBTYPE_h264).sizes(SPA_CHOICE_None, {{640, 480}}).read(),
                IsEmpty());
    EXPECT_THAT(Offer(SPA_MEDIA_SUBTYPE_raw, SPA_MEDIA_TYPE_audio).read(), IsEmpty());
    for (const spa_rectangle& size : {spa_rectangle{0, 480}, {UINT32_MAX, 480}, {20000, 2}})
        EXPECT_THAT(Offer().formats({SPA_VIDEO_FORMAT_YUY2}).sizes(SPA_CHOICE_None, {size}).read(),
                    IsEmpty());
    EXPECT_THAT(Offer()
                    .formats({SPA_VIDEO_FORMAT_YUY2})
                    .sizes(SPA_CHOICE_None, {{640, 480}})
                    .rates(SPA_CHOICE_None, {{30, 0}})
                    .read(),
                testing::SizeIs(1))
        << "a rate that is none is ignored";
}

TEST(CameraNodeTest, SortsByPreferenceWithoutDoubles) {
    const VideoFormat jpeg{FrameEncoding::mjpeg, 1920, 1080, {30, 1}};
    const VideoFormat small{FrameEncoding::yuyv, 640, 480, {30, 1}};
    const VideoFormat large{FrameEncoding::yuyv, 1280, 720, {10, 1}};
    EXPECT_THAT(sortedFormats({jpeg, small, large, small}), ElementsAre(small, large, jpeg));
    std::vector<VideoFormat> many;
    for (int i = 1; i < 5000; ++i)
        many.push_back({FrameEncoding::yuyv, i, 2, {30, 1}});
    EXPECT_LE(sortedFormats(many).size(), 64u);
}

TEST(CameraNodeTest, KnowsACameraByClassAndRole) {
    EXPECT_TRUE(isCamera({{"media.class", "Video/Source"}, {"media.role", "Camera"}}));
    EXPECT_FALSE(isCamera({{"media.class", "Video/Source"}, {"media.role", "Screen"}}));
    EXPECT_FALSE(isCamera({{"media.class", "Video/Source"}}));
    EXPECT_FALSE(isCamera({{"media.class", "Stream/Output/Video"}, {"media.role", "Camera"}}));
}

TEST(CameraNodeTest, IdentifiersStayAndDiffer) {
    const Properties node{{"node.name", "libcamera_input.front"}, {"object.serial", "71"}};
    EXPECT_EQ(idOf(node, {}), "pipewire:libcamera_input.front");
    EXPECT_EQ(idOf(node, {"pipewire:libcamera_input.front"}), "pipewire:libcamera_input.front#2");
    EXPECT_EQ(idOf(node, {"pipewire:libcamera_input.front", "pipewire:libcamera_input.front#2"}),
              "pipewire:libcamera_input.front#3");
}

TEST(CameraNodeTest, SaysHowACameraIsAttached) {
    CameraNode node{1, "id", {{"node.name", "n"}, {"node.description", "Front Camera"}}, {}};
    EXPECT_EQ(descriptionOf(node).transportType, CameraTransportType::virtualDevice);
    EXPECT_EQ(descriptionOf(node).type, CameraDeviceType::external);
    node.properties["device.api"] = "libcamera";
    node.properties["api.libcamera.location"] = "front";
    EXPECT_EQ(descriptionOf(node).transportType, CameraTransportType::builtIn);
    EXPECT_EQ(descriptionOf(node).type, CameraDeviceType::builtInWideAngleCamera);
    node.properties["api.libcamera.location"] = "external";
    node.properties["device.bus"] = "usb";
    EXPECT_EQ(descriptionOf(node).transportType, CameraTransportType::usb);
    EXPECT_EQ(descriptionOf(node).localizedName, "Front Camera");
    EXPECT_EQ(descriptionOf({}).localizedName, "Camera");
}

} // namespace
} // namespace lanternfly::pipewire
