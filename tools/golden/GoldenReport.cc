// Draws every golden scene and shows it beside its approved picture and their difference, on one
// page. With `approve`, the named scenes (or `all`) become the approved pictures.
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <vector>

#include <fmt/format.h>

#include "gpu/cpu/CpuDevice.h"
#include "support/scenes/GoldenPictures.h"

namespace lanternfly {
namespace {

constexpr const char* pageStart = R"(<!doctype html>
<meta charset="utf-8"><title>Golden scenes</title>
<style>
body { font: 14px sans-serif; background: #222; color: #ddd; margin: 2em }
h2 { font-size: 1em; margin: 1.5em 0 .3em } .bad { color: #f96 }
figure { display: inline-block; margin: 0 1em 0 0 } img { image-rendering: pixelated }
</style>
<h1>Golden scenes</h1>
)";

std::string figure(const std::filesystem::path& picture, const char* caption) {
    return fmt::format("<figure><img src=\"{}\"><figcaption>{}</figcaption></figure>\n",
                       picture.string(), caption);
}

// One scene's part of the page; writes its pictures into `folder`.
std::string section(const test::Scene& scene, const PixelBuffer& actual,
                    const std::filesystem::path& folder) {
    const std::string actualName = scene.name + ".actual.png";
    test::writePng(actual, folder / actualName);
    const auto approved = test::approvedPicture(scene);
    const bool isComparable =
        approved && approved->width() == actual.width() && approved->height() == actual.height();
    if (!isComparable)
        return fmt::format("<h2 class=\"bad\">{}: not approved</h2><p>{}</p>\n{}", scene.name,
                           scene.shows, figure(actualName, "actual"));
    const auto delta = test::difference(actual, *approved);
    const std::string approvedName = scene.name + ".approved.png";
    const std::string diffName = scene.name + ".diff.png";
    test::writePng(*approved, folder / approvedName);
    test::writePng(*test::amplifiedDifference(actual, *approved), folder / diffName);
    return fmt::format("<h2{}>{}: {} pixels differ, at most by {}</h2><p>{}</p>\n{}{}{}",
                       delta.largest > 1 ? " class=\"bad\"" : "", scene.name, delta.differing,
                       delta.largest, scene.shows, figure(approvedName, "expected"),
                       figure(actualName, "actual"), figure(diffName, "difference × 32"));
}

int report(const std::filesystem::path& folder) {
    std::filesystem::create_directories(folder);
    std::ofstream page(folder / "index.html");
    page << pageStart;
    const auto device = CpuDevice::create();
    for (const test::Scene& scene : test::scenes()) {
        const auto actual = test::drawn(device, scene);
        if (!actual) return 1;
        page << section(scene, *actual, folder);
    }
    fmt::print("{}\n", (folder / "index.html").string());
    return page.good() ? 0 : 1;
}

int approve(const std::set<std::string>& names) {
    std::filesystem::create_directories(test::approvedFolder());
    const auto device = CpuDevice::create();
    size_t approvedCount = 0;
    for (const test::Scene& scene : test::scenes()) {
        if (!names.count("all") && !names.count(scene.name)) continue;
        const auto actual = test::drawn(device, scene);
        if (!actual || !test::writePng(*actual, test::approvedPath(scene))) return 1;
        ++approvedCount;
    }
    fmt::print("approved {}\n", approvedCount);
    return approvedCount > 0 ? 0 : 1;
}

} // namespace
} // namespace lanternfly

int main(int argc, char** argv) {
    const std::vector<std::string> arguments(argv + 1, argv + argc);
    if (arguments.size() >= 2 && arguments[0] == "approve")
        return lanternfly::approve({arguments.begin() + 1, arguments.end()});
    if (arguments.size() <= 1 && (arguments.empty() || !arguments[0].starts_with('-')))
        return lanternfly::report(arguments.empty() ? LANTERNFLY_BUILD_DIR "/golden/report"
                                                    : arguments[0]);
    fmt::print(stderr, "usage: {} [FOLDER] | approve SCENE… | approve all\n", argv[0]);
    return 2;
}
