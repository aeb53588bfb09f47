// What every PdfOpener promises, on the scripted one and on the real one.
#include <cmath>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <limits>

#include <gtest/gtest.h>

#include "platform/PdfDocument.h"
#include "platform/fake/ScriptedPdfOpener.h"
#include "platform/linux/pdf/PdfWorkerOpener.h"
#include "support/DrawnPdf.h"

namespace lanternfly {

namespace {

using Kind = PdfError::Kind;
using test::DrawnPage;

// Makes the same documents for one implementation.
class Maker {
public:
    virtual ~Maker() = default;
    virtual PdfOpener& opener() = 0;
    virtual std::filesystem::path document(const std::vector<DrawnPage>& pages) = 0;
    virtual std::filesystem::path broken(Kind kind) = 0;
};

class FakeMaker final : public Maker {
public:
    PdfOpener& opener() override { return _opener; }

    std::filesystem::path document(const std::vector<DrawnPage>& pages) override {
        std::vector<ScriptedPage> scripted;
        const auto bytes = [](test::Rgb colour) {
            return std::array<uint8_t, 4>{static_cast<uint8_t>(colour.blue * 255),
                                          static_cast<uint8_t>(colour.green * 255),
                                          static_cast<uint8_t>(colour.red * 255), 255};
        };
        for (const auto& page : pages)
            scripted.push_back(
                {{page.width, page.height}, bytes(page.upper), bytes(page.lower), {}});
        _opener.addDocument("deck.pdf", scripted);
        return "deck.pdf";
    }

    std::filesystem::path broken(Kind kind) override {
        _opener.addFailure("broken.pdf", kind);
        return "broken.pdf";
    }

private:
    ScriptedPdfOpener _opener;
};

class WorkerMaker final : public Maker {
public:
    PdfOpener& opener() override { return _opener; }

    std::filesystem::path document(const std::vector<DrawnPage>& pages) override {
        const auto file = _folder.path() / "deck.pdf";
        test::drawPdf(file, pages);
        return file;
    }

    std::filesystem::path broken(Kind kind) override {
        switch (kind) {
        case Kind::notFound:
            return _folder.path() / "broken.pdf";
        case Kind::empty:
            return _folder.write("broken.pdf", "");
        case Kind::notAPdf:
            return _folder.write("broken.pdf", "Dear diary, no slides today.\n");
        case Kind::damaged:
            return _folder.write("broken.pdf", "%PDF-1.7\n1 0 obj\n<<");
        case Kind::noPages:
            return _folder.write("broken.pdf",
                                 "%PDF-1.7\n1 0 obj\n<</Type/Catalog/Pages 2 0 R>>\nendobj\n"
                                 "2 0 obj\n<</Type/Pages/Kids[]/Count 0>>\nendobj\n"
                                 "trailer\n<</Root 1 0 R/Size 3>>\n%%EOF\n");
        case Kind::encrypted:
        case Kind::rendererFailed:
        case Kind::rendererTimeout:
        case Kind::noSuchPage:
        case Kind::pageRefused:
            break;
        }
        throw std::logic_error("not a way for a file to be broken");
    }

private:
    test::TemporaryFolder _folder;
    PdfWorkerOpener _opener;
};

PdfDocument::PageResult rendered(PdfDocument& document, int index, double width, double height) {
    std::promise<PdfDocument::PageResult> promise;
    document.renderPage(index, width, height, [&](PdfDocument::PageResult result) {
        promise.set_value(std::move(result));
    });
    return promise.get_future().get();
}

PixelBufferRef picture(const PdfDocument::PageResult& result) {
    const auto* pixels = std::get_if<PixelBufferRef>(&result);
    if (!pixels) ADD_FAILURE() << std::get<PdfError>(result).what();
    return pixels ? *pixels : nullptr;
}

uint32_t bgra(const PixelBuffer& pixels, int x, int y) {
    const uint8_t* p = pixels.row(y) + x * 4;
    return uint32_t{p[0]} << 24 | uint32_t{p[1]} << 16 | uint32_t{p[2]} << 8 | p[3];
}

constexpr test::Rgb red{1, 0, 0}, blue{0, 0, 1}, green{0, 1, 0}, black{0, 0, 0};

} // namespace

class PdfDocumentContract : public testing::TestWithParam<
                                std::pair<const char*, std::function<std::unique_ptr<Maker>()>>> {
protected:
    std::shared_ptr<PdfDocument> open(const std::vector<DrawnPage>& pages) {
        return maker->opener().open(maker->document(pages));
    }
    std::unique_ptr<Maker> maker = GetParam().second();
};

TEST_P(PdfDocumentContract, CountsItsPages) {
    EXPECT_EQ(open({{}, {}, {}})->pageCount(), 3);
}

TEST_P(PdfDocumentContract, FitsALandscapePageIntoASquare) {
    const auto result = rendered(*open({{792, 612, red, blue}}), 0, 2048, 2048);
    const auto pixels = picture(result);
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->width(), 2048);
    EXPECT_EQ(pixels->height(), 1583);
}

TEST_P(PdfDocumentContract, FitsAPortraitPageIntoAWideBox) {
    const auto pixels = picture(rendered(*open({{300, 600, red, blue}}), 0, 1000, 200));
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->width(), 100);
    EXPECT_EQ(pixels->height(), 200);
}

TEST_P(PdfDocumentContract, PutsTheTopOfThePageInTheFirstRow) {
    const auto pixels = picture(rendered(*open({{400, 300, red, blue}}), 0, 40, 30));
    ASSERT_TRUE(pixels);
    EXPECT_EQ(bgra(*pixels, 20, 2), 0x0000ffffu);
    EXPECT_EQ(bgra(*pixels, 20, 27), 0xff0000ffu);
}

TEST_P(PdfDocumentContract, DrawsDarkPagesUpToTheirEdges) {
    // 400 × 301 in 97 × 97 leaves a fraction of a row.
    const auto pixels = picture(rendered(*open({{400, 301, black, black}}), 0, 97, 97));
    ASSERT_TRUE(pixels);
    for (const int y : {0, pixels->height() - 1})
        for (const int x : {0, pixels->width() - 1})
            EXPECT_EQ(bgra(*pixels, x, y), 0x000000ffu) << x << ", " << y;
}

TEST_P(PdfDocumentContract, IsOpaqueWhiteWhereNothingIsDrawn) {
    const auto pixels = picture(rendered(*open({{400, 300, {}, {}}}), 0, 20, 20));
    ASSERT_TRUE(pixels);
    for (int y = 0; y < pixels->height(); ++y)
        for (int x = 0; x < pixels->width(); ++x)
            ASSERT_EQ(bgra(*pixels, x, y), 0xffffffffu);
}

TEST_P(PdfDocumentContract, GivesATinyPageAtLeastOnePixel) {
    const auto pixels = picture(rendered(*open({{1000, 2, red, red}}), 0, 100, 100));
    ASSERT_TRUE(pixels);
    EXPECT_EQ(pixels->width(), 100);
    EXPECT_EQ(pixels->height(), 1);
}

TEST_P(PdfDocumentContract, RefusesPagesThatAreNotThere) {
    const auto document = open({{}, {}});
    for (const int index :
         {-1, 2, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()}) {
        const auto result = rendered(*document, index, 100, 100);
        ASSERT_TRUE(std::holds_alternative<PdfError>(result));
        EXPECT_EQ(std::get<PdfError>(result).kind(), Kind::noSuchPage);
    }
}

TEST_P(PdfDocumentContract, RefusesSizesThatNoPictureHas) {
    const auto document = open({{}});
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const double side : {0.0, -1.0, infinity, std::nan(""), 1e5, 16384.0}) {
        const auto result = rendered(*document, 0, side, side);
        ASSERT_TRUE(std::holds_alternative<PdfError>(result)) << side;
        EXPECT_EQ(std::get<PdfError>(result).kind(), Kind::pageRefused);
    }
    EXPECT_TRUE(picture(rendered(*document, 0, 100, 100)));
}

TEST_P(PdfDocumentContract, CompletesInTheOrderOfTheRequests) {
    const auto document = open({{792, 612, red, red}, {792, 612, green, green}, {}});
    std::vector<int> order;
    std::promise<void> done;
    const std::vector<int> asked{2, 0, 7, 1, 0};
    for (const int index : asked)
        document->renderPage(index, 64, 64, [&, index](PdfDocument::PageResult) {
            order.push_back(index);
            if (order.size() == asked.size()) done.set_value();
        });
    done.get_future().wait();
    EXPECT_EQ(order, asked);
}

TEST_P(PdfDocumentContract, KeepsEarlierPicturesWhenLaterOnesAreDrawn) {
    const auto document = open({{400, 300, red, red}, {400, 300, blue, blue}});
    const auto first = picture(rendered(*document, 0, 40, 40));
    const auto second = picture(rendered(*document, 1, 400, 400));
    const auto third = picture(rendered(*document, 1, 20, 20));
    ASSERT_TRUE(first && second && third);
    EXPECT_EQ(bgra(*first, 5, 5), 0x0000ffffu);
    EXPECT_EQ(bgra(*second, 399, 299), 0xff0000ffu);
    EXPECT_EQ(bgra(*third, 19, 14), 0xff0000ffu);
}

TEST_P(PdfDocumentContract, MayBeReleasedByItsOwnCompletion) {
    auto document = open({{}});
    std::promise<void> released;
    auto* raw = document.get();
    raw->renderPage(0, 32, 32,
                    [kept = std::move(document), &released](PdfDocument::PageResult) mutable {
                        kept.reset();
                        released.set_value();
                    });
    released.get_future().wait();
}

TEST_P(PdfDocumentContract, DropsWaitingRequestsWhenReleased) {
    auto document = open({{}});
    std::promise<void> allGone;
    // Dies with the last completion that holds it.
    std::shared_ptr<void> notice(nullptr, [&](void*) { allGone.set_value(); });
    for (int i = 0; i < 20; ++i)
        document->renderPage(0, 64, 64, [notice](PdfDocument::PageResult) {});
    notice.reset();
    document.reset();
    allGone.get_future().wait();
}

TEST_P(PdfDocumentContract, TellsWaysToFailApartAndNamesTheFile) {
    for (const auto kind :
         {Kind::notFound, Kind::empty, Kind::notAPdf, Kind::damaged, Kind::noPages}) {
        const auto fresh = GetParam().second();
        try {
            fresh->opener().open(fresh->broken(kind));
            ADD_FAILURE() << "opened";
        } catch (const PdfError& error) {
            EXPECT_EQ(error.kind(), kind) << error.what();
            EXPECT_NE(std::string(error.what()).find("\"broken.pdf\""), std::string::npos)
                << error.what();
        }
    }
}

INSTANTIATE_TEST_SUITE_P(
    Implementations, PdfDocumentContract,
    testing::Values(std::pair{"Scripted", std::function<std::unique_ptr<Maker>()>([] {
                                  return std::make_unique<FakeMaker>();
                              })},
                    std::pair{"Worker", std::function<std::unique_ptr<Maker>()>([] {
                                  return std::make_unique<WorkerMaker>();
                              })}),
    [](const auto& instance) { return std::string(instance.param.first); });

} // namespace lanternfly
