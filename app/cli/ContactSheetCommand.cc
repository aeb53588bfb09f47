#include "app/cli/ContactSheetCommand.h"

#include <algorithm>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/ContactSheet.h"
#include "app/cli/OutputNames.h"
#include "platform/linux/video/OutputFile.h"
#include "platform/linux/video/VideoFileReader.h"

namespace lanternfly {
namespace {

int64_t countFrames(const ContactSheetOptions& options) {
    const auto reader = VideoFileReader::open(options.video);
    int64_t frames = 0;
    while (reader->next())
        ++frames;
    return frames;
}

} // namespace

void declareContactSheet(CLI::App& command, ContactSheetOptions& options) {
    command.add_option("video", options.video, "Video to show")->required()->type_name("VIDEO");
    command.add_option("--out", options.out, "Picture to write")->required()->type_name("PNG");
    command.add_option("--columns", options.columns, "Pictures in a row")
        ->check(CLI::Range(1, 40))
        ->capture_default_str();
    command.add_option("--count", options.count, "Pictures in all")
        ->check(CLI::Range(1, 400))
        ->capture_default_str();
}

int runContactSheet(const ContactSheetOptions& options) {
    refuseOverwriting({{"the video", options.video}}, {{"--out", options.out}});
    // Containers only estimate their number of frames, so they are counted.
    const int64_t frames = countFrames(options);
    const int count = static_cast<int>(std::min<int64_t>(options.count, frames));
    const auto reader = VideoFileReader::open(options.video);
    ContactSheet sheet(options.columns, count, reader->info().displayAspect);
    OutputFile file(options.out, OutputFile::WhenAbandoned::remove);
    for (int64_t index = 0; const auto frame = reader->next(); ++index)
        // The middle of each of `count` equal parts.
        if (index == (2 * int64_t{sheet.added()} + 1) * frames / (2 * count)) sheet.add(*frame);
    if (!sheet.write(file.workPath()))
        throw CommandError(fmt::format("cannot write {}: make room on its disk and run again",
                                       options.out.string()));
    file.commit();
    fmt::print("{}: {} pictures of {} frames\n", options.out.string(), sheet.added(), frames);
    return 0;
}

} // namespace lanternfly
