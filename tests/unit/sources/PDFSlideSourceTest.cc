#include "sources/PDFSlideSource.h"

#include <future>

#include <gtest/gtest.h>

#include "gpu/cpu/CpuDevice.h"
#include "platform/fake/ScriptedPdfOpener.h"
#include "support/LogCapture.h"

namespace lanternfly {

namespace {

using Request = ScriptedPdfOpener::Request;
constexpr std::array<uint8_t, 4> red{0, 0, 255, 255}, blue{255, 0, 0, 255};

// Takes pictures, and never has the memory for a texture.
class FullDevice final : public Device {
public:
    Kind kind() const override { return Kind::cpu; }
    std::string name() const override { return "full"; }
    TextureRef makeTexture(const PixelBuffer&, const TextureOptions&) override { return nullptr; }
};

class PDFSlideSourceTest : public testing::Test {
protected:
    void SetUp() override {
        opener.addDocument("deck.pdf", {{{792, 612}, red, blue, {}},
                                        {{300, 600}, blue, red, {}},
                                        {{0, 612}, red, red, {}},
                                        {{612, 0}, red, red, {}},
                                        {{400, 300}, red, red, {}}});
        source = PDFSlideSource::create("deck.pdf", device, opener, executorOf(queue));
        ASSERT_TRUE(source);
    }

    SlideSource::TextureResult textureResult(int index, double width, double height) {
        std::promise<SlideSource::TextureResult> promise;
        queue->sync([&] {
            source->texture(index, {width, height}, [&](SlideSource::TextureResult result) {
                promise.set_value(std::move(result));
            });
        });
        return promise.get_future().get();
    }
    std::shared_ptr<CpuTexture> texture(int index, double width, double height) {
        return std::static_pointer_cast<CpuTexture>(
            std::get<TextureRef>(textureResult(index, width, height)));
    }
    PixelBufferRef thumbnail(int index, double maxDimension) {
        std::promise<PixelBufferRef> promise;
        queue->sync([&] {
            source->thumbnail(index, maxDimension,
                              [&](PixelBufferRef picture) { promise.set_value(picture); });
        });
        return promise.get_future().get();
    }
    void precache(std::vector<int> indices) {
        std::promise<void> promise;
        queue->sync([&] { source->precache(std::move(indices), [&] { promise.set_value(); }); });
        promise.get_future().get();
    }

    ScriptedPdfOpener opener;
    DeviceRef device = CpuDevice::create();
    std::shared_ptr<SerialQueue> queue = std::make_shared<SerialQueue>("test.slides");
    std::shared_ptr<PDFSlideSource> source;
};

std::array<uint8_t, 4> pixel(const PixelBuffer& picture, int x, int y) {
    const uint8_t* p = picture.row(y) + x * 4;
    return {p[0], p[1], p[2], p[3]};
}

} // namespace

TEST_F(PDFSlideSourceTest, IsNotMadeFromAFileThatCannotBeOpened) {
    const test::LogCapture log;
    opener.addFailure("locked.pdf", PdfError::Kind::encrypted);
    EXPECT_FALSE(PDFSlideSource::create("locked.pdf", device, opener, executorOf(queue)));
    EXPECT_TRUE(log.contains(PdfError(PdfError::Kind::encrypted, "locked.pdf").what()));
    EXPECT_THROW(PDFSlideSource::open("locked.pdf", device, opener, executorOf(queue)), PdfError);
}

TEST_F(PDFSlideSourceTest, StartsAtTheFirstSlideWithAnIdentityOfItsOwn) {
    EXPECT_EQ(source->currentIndex(), 0);
    EXPECT_EQ(source->slideCount(), 5);
    EXPECT_EQ(source->fileURL(), "deck.pdf");
    EXPECT_EQ(source->device(), device);
    const auto other = PDFSlideSource::create("deck.pdf", device, opener, executorOf(queue));
    EXPECT_FALSE(source->id() == other->id());
    source->setCurrentIndex(77);
    EXPECT_EQ(source->currentIndex(), 77);
}

TEST_F(PDFSlideSourceTest, FitsALandscapePageIntoTheRequestedSquare) {
    const auto made = texture(0, 2048, 2048);
    ASSERT_TRUE(made);
    EXPECT_EQ(made->width(), 2048);
    EXPECT_EQ(made->height(), 1583);
    EXPECT_EQ(&made->device(), device.get());
}

TEST_F(PDFSlideSourceTest, PutsTheBottomOfThePageInTheFirstRowOfTheTexture) {
    const auto made = texture(0, 256, 256);
    ASSERT_TRUE(made);
    EXPECT_EQ(pixel(made->level(0), 10, 0), blue);
    EXPECT_EQ(pixel(made->level(0), 10, made->height() - 1), red);
    EXPECT_GT(made->levelCount(), 1);
}

TEST_F(PDFSlideSourceTest, HasNoTextureForAPageWithoutArea) {
    EXPECT_FALSE(texture(2, 256, 256));
    EXPECT_FALSE(texture(3, 256, 256));
    EXPECT_FALSE(thumbnail(2, 64));
}

TEST_F(PDFSlideSourceTest, HasNeitherTextureNorErrorOutsideTheDocument) {
    EXPECT_FALSE(texture(-1, 256, 256));
    EXPECT_FALSE(texture(5, 256, 256));
    EXPECT_FALSE(thumbnail(-1, 64));
    EXPECT_FALSE(thumbnail(5, 64));
    EXPECT_TRUE(opener.requests().empty());
}

TEST_F(PDFSlideSourceTest, ReturnsTheFirstTextureForEveryLaterSize) {
    const auto first = texture(0, 256, 256);
    const auto second = texture(0, 1024, 1024);
    EXPECT_EQ(first, second);
    EXPECT_EQ(second->width(), 256);
    EXPECT_EQ(opener.requests().size(), 1u);
}

TEST_F(PDFSlideSourceTest, AnswersAtOnceWhatItHas) {
    const auto first = texture(0, 256, 256);
    queue->sync([&] {
        TextureRef atOnce;
        source->texture(0, {64, 64}, [&](SlideSource::TextureResult result) {
            atOnce = std::get<TextureRef>(result);
        });
        EXPECT_EQ(atOnce, first);
    });
}

TEST_F(PDFSlideSourceTest, DrawsAPageOnceForRequestsThatMeet) {
    std::vector<TextureRef> got;
    std::promise<void> done;
    queue->sync([&] {
        for (const double side : {256.0, 512.0, 1024.0})
            source->texture(1, {side, side}, [&](SlideSource::TextureResult result) {
                got.push_back(std::get<TextureRef>(result));
                if (got.size() == 3) done.set_value();
            });
    });
    done.get_future().wait();
    EXPECT_TRUE(got[0]);
    EXPECT_EQ(got[0], got[1]);
    EXPECT_EQ(got[1], got[2]);
    EXPECT_EQ(opener.requests(), (std::vector<Request>{{1, 256, 256}}));
}

TEST_F(PDFSlideSourceTest, MayBeAskedAgainByACompletion) {
    std::promise<TextureRef> again;
    queue->sync([&] {
        source->texture(0, {64, 64}, [&](SlideSource::TextureResult) {
            source->texture(1, {64, 64}, [&](SlideSource::TextureResult result) {
                again.set_value(std::get<TextureRef>(result));
            });
        });
    });
    EXPECT_TRUE(again.get_future().get());
}

TEST_F(PDFSlideSourceTest, KeepsThumbnailsApartFromTextures) {
    const auto small = thumbnail(0, 100);
    ASSERT_TRUE(small);
    EXPECT_EQ(small->width(), 100);
    EXPECT_EQ(small->height(), 77);
    EXPECT_EQ(pixel(*small, 5, 0), red); // upright
    EXPECT_EQ(thumbnail(0, 300), small);
    EXPECT_EQ(texture(0, 256, 256)->width(), 256);
    EXPECT_EQ(opener.requests(), (std::vector<Request>{{0, 100, 100}, {0, 256, 256}}));
}

TEST_F(PDFSlideSourceTest, TriesFailedPagesAgain) {
    std::vector<std::pair<int, PdfError::Kind>> told;
    queue->sync([&] {
        source->setFailureHandler(
            [&](int index, const PdfError& error) { told.emplace_back(index, error.kind()); });
    });
    opener.failOnce(0, PdfError::Kind::rendererTimeout);
    EXPECT_FALSE(texture(0, 256, 256));
    EXPECT_TRUE(texture(0, 256, 256));
    opener.failOnce(1, PdfError::Kind::rendererFailed);
    EXPECT_FALSE(thumbnail(1, 64));
    EXPECT_TRUE(thumbnail(1, 64));
    EXPECT_EQ(told,
              (std::vector<std::pair<int, PdfError::Kind>>{{0, PdfError::Kind::rendererTimeout},
                                                           {1, PdfError::Kind::rendererFailed}}));
}

TEST_F(PDFSlideSourceTest, TellsWhenTheDeviceMakesNoTexture) {
    source = PDFSlideSource::create("deck.pdf", std::make_shared<FullDevice>(), opener,
                                    executorOf(queue));
    const auto result = textureResult(0, 256, 256);
    ASSERT_TRUE(std::holds_alternative<SlideTextureError>(result));
    EXPECT_EQ(std::get<SlideTextureError>(result).kind(), SlideTextureError::Kind::textureNotMade);
}

TEST_F(PDFSlideSourceTest, PrecachesInTheGivenOrderWhatIsThereAndNew) {
    texture(1, 256, 256);
    precache({4, -1, 1, 5, 2, 0});
    EXPECT_EQ(
        opener.requests(),
        (std::vector<Request>{{1, 256, 256}, {4, 2048, 2048}, {2, 2048, 2048}, {0, 2048, 2048}}));
    EXPECT_EQ(texture(0, 64, 64)->width(), 2048);
    precache({});
    precache({0, 4});
    EXPECT_EQ(opener.requests().size(), 4u);
}

TEST_F(PDFSlideSourceTest, DrawsAWantedSlideBeforeTheRestOfAPrecache) {
    std::promise<void> done;
    queue->sync([&] {
        source->precache({0, 1, 4}, [&] { done.set_value(); });
        source->texture(4, {128, 128}, [](SlideSource::TextureResult) {});
    });
    done.get_future().wait();
    EXPECT_EQ(opener.requests(),
              (std::vector<Request>{{0, 2048, 2048}, {4, 128, 128}, {1, 2048, 2048}}));
}

TEST_F(PDFSlideSourceTest, DropsItsRequestsWhenReleased) {
    std::promise<void> gone;
    std::shared_ptr<void> notice(nullptr, [&](void*) { gone.set_value(); });
    queue->sync([&] {
        source->texture(0, {2048, 2048}, [notice](SlideSource::TextureResult) {
            ADD_FAILURE() << "completed after its source was gone";
        });
        notice.reset();
        source.reset();
    });
    gone.get_future().wait();
}

TEST(SlideSource, HasNoThumbnailByDefault) {
    class Plain final : public SlideSource {
    public:
        Uuid id() const override { return {}; }
        int slideCount() const override { return 1; }
        int currentIndex() const override { return 0; }
        void setCurrentIndex(int) override {}
        void texture(int, SlideSizePX, TextureCompletion completion) override {
            completion(TextureRef());
        }
        void precache(std::vector<int>, std::function<void()> completion) override { completion(); }
    };
    bool isAnswered = false;
    Plain().thumbnail(0, 100, [&](const PixelBufferRef& picture) {
        isAnswered = true;
        EXPECT_FALSE(picture);
    });
    EXPECT_TRUE(isAnswered);
}

} // namespace lanternfly
