// Reads trace files back.
#pragma once

#include <memory>
#include <vector>

#include <nlohmann/json.hpp>

#include "diagnostics/PerfSignposts.h"
#include "diagnostics/TraceFile.h"
#include "support/Files.h"
#include "support/TemporaryFolder.h"

namespace lanternfly::test {

// The begin and end events of a trace, in file order. Throws when it is not JSON.
inline std::vector<nlohmann::json> traceEvents(const std::filesystem::path& path) {
    std::vector<nlohmann::json> events;
    for (const auto& event : nlohmann::json::parse(readFile(path)))
        if (event["ph"] != "M") events.push_back(event);
    return events;
}

// Traces all signposts until it is finished.
class TracedScope {
public:
    TracedScope() { PerfSignposts::setTrace(TraceFile::create(_folder.path() / "trace.json")); }
    std::vector<nlohmann::json> finish() {
        PerfSignposts::setTrace(nullptr);
        return traceEvents(_folder.path() / "trace.json");
    }

private:
    TemporaryFolder _folder;
};

} // namespace lanternfly::test
