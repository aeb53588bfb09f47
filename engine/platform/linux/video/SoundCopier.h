// Carries the sound streams of one file into another, packet by packet, unchanged.
// Threads: bound.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "platform/linux/video/Libav.h"

namespace lanternfly {

class SoundCopier {
public:
    // Adds to `output`, whose header is still to be written, one stream for each sound stream of
    // `source` that its container can carry; says in `notes` which it cannot. Throws VideoError
    // when the source cannot be read.
    SoundCopier(const std::filesystem::path& source, AVFormatContext& output,
                std::vector<std::string>& notes);

    bool hasStreams() const { return _hasStreams; }
    // Copies what belongs before this time, counted from the start of the file. Returns libav's
    // code, 0 when all is well: a full disk shows here too.
    int copyUntil(double seconds);
    int copyRest();

private:
    struct Route {
        AVStream* target = nullptr; // null: not carried
        int64_t lastTicks = INT64_MIN;
    };
    bool fetch();
    int writeFetched();
    double fetchedSeconds() const;

    libav::Input _source;
    AVFormatContext& _output;
    libav::Packet _packet;
    std::vector<Route> _routes;
    bool _hasStreams = false;
    bool _isFetched = false;
    bool _ended = false;
};

} // namespace lanternfly
