// SPDX-License-Identifier: GPL-2.0-or-later
// Pages at 2048 px through the helper, against poppler called directly in this process. Pages take
// turns, so that both meet the same machine. --json FILE appends the result as a line.
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <future>
#include <numeric>
#include <string>
#include <vector>

#include <cairo.h>
#include <fcntl.h>
#include <poppler.h>

#include "platform/linux/pdf/PdfWorkerOpener.h"
#include "support/DrawnPdf.h"

using namespace lanternfly;

namespace {

namespace fs = std::filesystem;
constexpr double sidePX = 2048;
constexpr int pagesPerDeck = 12;

double milliseconds(const std::function<void()>& body) {
    const auto begin = std::chrono::steady_clock::now();
    body();
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - begin)
        .count();
}

double median(std::vector<double> values) {
    std::nth_element(values.begin(),
                     values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2), values.end());
    return values[values.size() / 2];
}

void drawThroughHelper(PdfDocument& document, int index) {
    std::promise<PdfDocument::PageResult> promise;
    document.renderPage(index, sidePX, sidePX, [&](PdfDocument::PageResult result) {
        promise.set_value(std::move(result));
    });
    const auto result = promise.get_future().get();
    if (const auto* error = std::get_if<PdfError>(&result)) throw PdfError(*error);
}

void drawDirectly(PopplerDocument* document, int index) {
    PopplerPage* page = poppler_document_get_page(document, index);
    PdfPageSize size;
    poppler_page_get_size(page, &size.width, &size.height);
    const auto fit = fittedPageSize(size, sidePX, sidePX);
    cairo_surface_t* surface =
        cairo_image_surface_create(CAIRO_FORMAT_ARGB32, fit->widthPX, fit->heightPX);
    cairo_t* context = cairo_create(surface);
    cairo_set_source_rgb(context, 1, 1, 1);
    cairo_paint(context);
    cairo_scale(context, fit->widthPX / size.width, fit->heightPX / size.height);
    poppler_page_render(page, context);
    cairo_destroy(context);
    cairo_surface_destroy(surface);
    g_object_unref(page);
}

struct Times {
    std::vector<double> ours, peers;
};

void measure(const fs::path& file, Times& all) {
    PdfWorkerOpener opener;
    const auto ours = opener.open(file);
    PopplerDocument* peers =
        poppler_document_new_from_fd(open(file.c_str(), O_RDONLY | O_CLOEXEC), nullptr, nullptr);
    Times times;
    const int step = std::max(ours->pageCount() / pagesPerDeck, 1);
    // The best of some rounds: the first ones load fonts and warm caches, and a shared machine only
    // ever adds to a time.
    constexpr int rounds = 4;
    for (int index = 0; index < ours->pageCount(); index += step) {
        double a = 1e9, b = 1e9;
        for (int round = 0; round < rounds; ++round) {
            a = std::min(a, milliseconds([&] { drawThroughHelper(*ours, index); }));
            b = std::min(b, milliseconds([&] { drawDirectly(peers, index); }));
        }
        times.ours.push_back(a);
        times.peers.push_back(b);
    }
    g_object_unref(peers);
    std::printf("%-36s helper %7.2f ms   direct %7.2f ms   (median of %zu)\n",
                file.filename().c_str(), median(times.ours), median(times.peers),
                times.ours.size());
    all.ours.insert(all.ours.end(), times.ours.begin(), times.ours.end());
    all.peers.insert(all.peers.end(), times.peers.begin(), times.peers.end());
}

} // namespace

int main(int argumentCount, char** arguments) {
    const test::TemporaryFolder folder;
    std::vector<fs::path> decks;
    const auto shared = fs::path(LANTERNFLY_SOURCE_DIR) / ".." / "shared" / "pdf" / "decks";
    if (fs::exists(shared))
        for (const auto& entry : fs::directory_iterator(shared))
            decks.push_back(entry.path());
    if (decks.empty()) {
        decks.push_back(folder.path() / "drawn.pdf");
        test::drawPdf(decks.back(), std::vector<test::DrawnPage>(
                                        12, {792,
                                             612,
                                             {1, 1, 0.9},
                                             {0.9, 1, 1},
                                             "The quick brown fox jumps over the lazy dog"}));
    }
    Times all;
    for (const auto& deck : decks)
        measure(deck, all);

    const auto mean = [](const std::vector<double>& values) {
        return std::accumulate(values.begin(), values.end(), 0.0) /
               static_cast<double>(values.size());
    };
    const double ours = mean(all.ours), peer = mean(all.peers);
    std::printf("%-36s helper %7.2f ms   direct %7.2f ms   %.3f times as long (mean)\n",
                "all pages", ours, peer, ours / peer);
    if (argumentCount == 3 && std::string(arguments[1]) == "--json") {
        std::ofstream json(arguments[2], std::ios::app);
        char line[256];
        std::snprintf(line, sizeof line,
                      R"({"name": "pdf page at 2048 px", "ours": %.3f, "peer": %.3f, )"
                      R"("unit": "ms", "ratio": %.3f})",
                      ours, peer, peer / ours);
        json << line << "\n";
    }
}
