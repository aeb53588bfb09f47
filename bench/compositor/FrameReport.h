// What the compositor benches found: a line a row on standard output, and with --json FILE a line
// of JSON at the end of FILE. Threads: bound.
#pragma once

#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include <fmt/format.h>

namespace lanternfly::bench {

class FrameReport {
public:
    // Absent, with a word on standard error, when the arguments are others.
    static std::optional<FrameReport> of(int argc, char** argv) {
        FrameReport report;
        if (argc == 1) return report;
        if (argc == 3 && std::strcmp(argv[1], "--json") == 0)
            report._json.reset(std::fopen(argv[2], "a"), [](std::FILE* file) {
                if (file) std::fclose(file);
            });
        if (report._json) return report;
        std::fprintf(stderr, "usage: %s [--json FILE]; FILE must be writable\n", argv[0]);
        return std::nullopt;
    }

    // In processor milliseconds a frame; `remark` is for standard output only.
    void add(const std::string& name, double ours, std::optional<double> peer = {},
             std::string_view remark = {}) const {
        const std::string peerText = peer ? fmt::format("{:.4f}", *peer) : "null";
        const std::string ratio = peer ? fmt::format("{:.3f}", *peer / ours) : "null";
        fmt::print("{:<70} {:7.3f} CPU ms  peer {:>7}  ratio {:>5}  {}\n", name, ours, peerText,
                   ratio, remark);
        std::fflush(stdout);
        if (_json)
            fmt::print(_json.get(),
                       "{{\"name\": \"{}\", \"ours\": {:.4f}, \"peer\": {}, \"unit\": \"CPU "
                       "ms/frame\", \"ratio\": {}}}\n",
                       name, ours, peerText, ratio);
    }

private:
    std::shared_ptr<std::FILE> _json;
};

} // namespace lanternfly::bench
