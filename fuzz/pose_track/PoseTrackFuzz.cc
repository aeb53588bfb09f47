// Any bytes give a track that is written and read again as itself, or a PoseTrackError.
#include <cstdint>
#include <cstdlib>
#include <sstream>

#include "tracks/PoseTrackLine.h"
#include "tracks/PoseTrackReader.h"

namespace {

using namespace lanternfly;

PoseTrack read(const std::string& text) {
    return readPoseTrack(PoseTrackReader(std::make_unique<std::istringstream>(text), "fuzz"));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    PoseTrack track;
    try {
        track = read(std::string(reinterpret_cast<const char*>(data), size));
    } catch (const PoseTrackError&) {
        return 0;
    }
    const auto written = [](const PoseTrack& from) {
        fmt::memory_buffer text;
        PoseTrackLine::append(text, from.header);
        for (const PoseTrackFrame& frame : from.frames)
            PoseTrackLine::append(text, frame);
        return fmt::to_string(text);
    };
    // Times become whole nanoseconds, so the first writing may round and the second may not.
    std::string text = written(track);
    try {
        track = read(text);
    } catch (const PoseTrackError&) {
        return 0; // two times within one nanosecond
    }
    if (written(track) != text) std::abort();
    return 0;
}
