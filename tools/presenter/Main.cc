// Renders a webcam-like picture of a presenter together with its exact truth.
#include <CLI/CLI.hpp>

#include "Clip.h"
#include "Samples.h"

int main(int argumentCount, char** arguments) {
    presenter::Args a;
    bool poses = false;
    std::string size;
    CLI::App app{
        "Renders a presenter with two articulated hands, and the exact truth of every frame."};
    app.add_option("--script", a.script, "What the presenter does")
        ->check(CLI::IsMember({"demo", "pinch_loop"}));
    app.add_option("--out", a.out,
                   "Clip, picture or folder to write; without it only the truth is");
    app.add_option("--truth", a.truth, "JSON lines to write, one a frame");
    app.add_option("--size", size, "WIDTHxHEIGHT")->check([](const std::string& text) {
        int w = 0, h = 0;
        const bool read = std::sscanf(text.c_str(), "%dx%d", &w, &h) == 2;
        return read && w > 0 && h > 0 && w <= 8192 && h <= 8192 ? "" : "not a size: " + text;
    });
    app.add_option("--seed", a.seed, "1 is the reference presenter");
    app.add_option("--threads", a.threads)->check(CLI::Range(1, 256));
    app.add_option("--crf", a.crf, "Quality of the clip")->check(CLI::Range(0, 51));
    app.add_option("--fps", a.fps)->check(CLI::Range(1.0, 240.0));
    app.add_option("--from", a.from, "Seconds")->check(CLI::NonNegativeNumber);
    app.add_option("--to", a.to, "Seconds");
    auto* still = app.add_option("--still", a.still, "One picture at this second")->needs("--out");
    auto* samples = app.add_option("--samples", a.samples, "Number of single-hand crops to write")
                        ->check(CLI::PositiveNumber)
                        ->needs("--out");
    app.add_option("--crop", a.crop, "Side of a crop")->check(CLI::Range(32, 2048));
    app.add_flag("--poses", poses, "A sheet of all poses from four sides")->needs("--out");
    CLI11_PARSE(app, argumentCount, arguments);

    if (!size.empty()) std::sscanf(size.c_str(), "%dx%d", &a.w, &a.h);
    if (poses) return presenter::renderPoses(a);
    if (samples->count() > 0) return presenter::renderSamples(a);
    if (a.script.empty() || (still->count() == 0 && a.out.empty() && a.truth.empty())) {
        std::cerr << app.help();
        return 2;
    }
    return presenter::renderClip(a);
}
