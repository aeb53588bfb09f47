// Whole files through the real helper: decks that people made, and files made to do harm.
#include <chrono>
#include <filesystem>
#include <future>
#include <map>

#include <gtest/gtest.h>

#include "platform/linux/pdf/PdfWorkerOpener.h"
#include "support/DrawnPdf.h"

namespace lanternfly {

namespace {

namespace fs = std::filesystem;
using Kind = PdfError::Kind;

const fs::path sharedPdf = fs::path(LANTERNFLY_SOURCE_DIR) / ".." / "shared" / "pdf";

PdfDocument::PageResult rendered(PdfDocument& document, int index, double side) {
    std::promise<PdfDocument::PageResult> promise;
    document.renderPage(index, side, side, [&](PdfDocument::PageResult result) {
        promise.set_value(std::move(result));
    });
    return promise.get_future().get();
}

// What became of a file: why it did not open, or why its first page has no picture, or a picture.
std::optional<Kind> outcome(PdfOpener& opener, const fs::path& file) {
    try {
        const auto document = opener.open(file);
        const auto result = rendered(*document, 0, 2048);
        const auto* error = std::get_if<PdfError>(&result);
        return error ? std::optional(error->kind()) : std::nullopt;
    } catch (const PdfError& error) {
        return error.kind();
    }
}

} // namespace

TEST(PdfFiles, OpensADeckWithTextInASystemFont) {
    const test::TemporaryFolder folder;
    const auto file = folder.path() / "text.pdf";
    test::drawPdf(file, {{400, 300, {}, {}, "Sphinx of black quartz"}});
    const auto result = rendered(*PdfWorkerOpener().open(file), 0, 400);
    ASSERT_TRUE(std::holds_alternative<PixelBufferRef>(result));
    const auto& picture = *std::get<PixelBufferRef>(result);
    int dark = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            dark += picture.row(y)[x * 4] < 64;
    EXPECT_GT(dark, 500);
}

TEST(PdfFiles, DrawsTextWhoseFontIsNotInTheFile) {
    const test::TemporaryFolder folder;
    const auto file = folder.write(
        "helvetica.pdf", "%PDF-1.4\n1 0 obj\n<</Type/Catalog/Pages 2 0 R>>\nendobj\n"
                         "2 0 obj\n<</Type/Pages/Kids[3 0 R]/Count 1>>\nendobj\n"
                         "3 0 obj\n<</Type/Page/Parent 2 0 R/MediaBox[0 0 400 300]/Contents 4 0 R"
                         "/Resources<</Font<</F<</Type/Font/Subtype/Type1/BaseFont/Helvetica>>>>>>"
                         ">>\nendobj\n"
                         "4 0 obj\n<</Length 43>>stream\nBT /F 60 Tf 20 100 Td (Lanternfly) Tj ET"
                         "   \nendstream\nendobj\n"
                         "trailer\n<</Root 1 0 R/Size 5>>\n%%EOF\n");
    const auto result = rendered(*PdfWorkerOpener().open(file), 0, 400);
    ASSERT_TRUE(std::holds_alternative<PixelBufferRef>(result))
        << std::get<PdfError>(result).what();
    const auto& picture = *std::get<PixelBufferRef>(result);
    int dark = 0;
    for (int y = 0; y < picture.height(); ++y)
        for (int x = 0; x < picture.width(); ++x)
            dark += picture.row(y)[x * 4] < 64;
    EXPECT_GT(dark, 500) << "system fonts cannot be read in the sandbox";
}

TEST(PdfFiles, ShowsRotatedAndCroppedPagesAsViewersDo) {
    const test::TemporaryFolder folder;
    const auto file = folder.write(
        "turned.pdf", "%PDF-1.4\n1 0 obj\n<</Type/Catalog/Pages 2 0 R>>\nendobj\n"
                      "2 0 obj\n<</Type/Pages/Kids[3 0 R]/Count 1>>\nendobj\n"
                      "3 0 obj\n<</Type/Page/Parent 2 0 R/MediaBox[0 0 300 300]"
                      "/CropBox[100 100 200 300]/Rotate 90/Contents 4 0 R>>\nendobj\n"
                      "4 0 obj\n<</Length 33>>stream\n1 0 0 rg 100 100 100 100 re f    \n"
                      "endstream\nendobj\ntrailer\n<</Root 1 0 R/Size 5>>\n%%EOF\n");
    const auto result = rendered(*PdfWorkerOpener().open(file), 0, 200);
    ASSERT_TRUE(std::holds_alternative<PixelBufferRef>(result));
    const auto& picture = *std::get<PixelBufferRef>(result);
    EXPECT_EQ(picture.width(), 200);
    EXPECT_EQ(picture.height(), 100);
    // The lower half, red, is turned clockwise to the left.
    EXPECT_EQ(picture.row(50)[20 * 4], 0);
    EXPECT_EQ(picture.row(50)[180 * 4], 255);
}

TEST(PdfFiles, RefusesADeckThatNeedsAPassword) {
    if (std::system("qpdf --version >/dev/null 2>&1") != 0) GTEST_SKIP() << "qpdf is not installed";
    const test::TemporaryFolder folder;
    const auto plain = folder.path() / "plain.pdf";
    const auto locked = folder.path() / "locked.pdf";
    test::drawPdf(plain, {{}});
    ASSERT_EQ(std::system(("qpdf --encrypt user owner 256 -- '" + plain.string() + "' '" +
                           locked.string() + "'")
                              .c_str()),
              0);
    PdfWorkerOpener opener;
    EXPECT_EQ(outcome(opener, locked), Kind::encrypted);
}

TEST(PdfFiles, RefusesFoldersAndPipes) {
    const test::TemporaryFolder folder;
    PdfWorkerOpener opener;
    EXPECT_EQ(outcome(opener, folder.path()), Kind::notAPdf);
    EXPECT_EQ(outcome(opener, "/dev/zero"), Kind::notAPdf);
}

TEST(PdfFiles, EveryHarmfulFileHasAResultOfItsOwnInTime) {
    if (!fs::exists(sharedPdf / "broken")) GTEST_SKIP() << "no " << sharedPdf / "broken";
    const std::map<std::string, std::optional<Kind>> expected{
        {"zero-bytes.pdf", Kind::empty},
        {"notpdf.pdf", Kind::notAPdf},
        {"random.pdf", Kind::notAPdf},
        {"header-only.pdf", Kind::damaged},
        {"truncated-half.pdf", Kind::damaged},
        {"encrypted-aes256-userpw.pdf", Kind::encrypted},
        {"huge-mediabox.pdf", Kind::pageRefused},
    };
    using Clock = std::chrono::steady_clock;
    PdfWorkerOpener opener;
    for (const auto& entry : fs::directory_iterator(sharedPdf / "broken")) {
        const auto begin = Clock::now();
        const auto result = outcome(opener, entry.path());
        const auto seconds = std::chrono::duration<double>(Clock::now() - begin).count();
        EXPECT_LT(seconds, 10) << entry.path();
        std::printf("%-45s %6.3f s  %s\n", entry.path().filename().c_str(), seconds,
                    result ? PdfError(*result, "file").what() : "a picture");
        const auto known = expected.find(entry.path().filename());
        if (known != expected.end()) {
            EXPECT_EQ(result, known->second) << entry.path();
        }
    }
}

TEST(PdfFiles, EveryDeckDrawsItsFirstAndLastPage) {
    if (!fs::exists(sharedPdf / "decks")) GTEST_SKIP() << "no " << sharedPdf / "decks";
    PdfWorkerOpener opener;
    for (const auto& entry : fs::directory_iterator(sharedPdf / "decks")) {
        const auto document = opener.open(entry.path());
        for (const int index : {0, document->pageCount() - 1}) {
            const auto result = rendered(*document, index, 512);
            const auto* error = std::get_if<PdfError>(&result);
            EXPECT_FALSE(error) << entry.path() << ": " << (error ? error->what() : "");
        }
    }
}

} // namespace lanternfly
