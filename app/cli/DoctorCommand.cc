#include "app/cli/DoctorCommand.h"

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "app/cli/Options.h"
#include "app/doctor/Examination.h"
#include "base/Logger.h"

namespace lanternfly {
namespace {

const char* markOf(Finding::State state) {
    switch (state) {
    case Finding::State::well:
        return "ok";
    case Finding::State::lacking:
        return "--";
    case Finding::State::wrong:
        return "!!";
    }
    return "!!";
}

void print(const Finding& finding) {
    fmt::print("{}  {:<16}{}\n", markOf(finding.state), finding.about, finding.text);
    if (!finding.whatToDo.empty()) fmt::print("{:<20}{}\n", "", finding.whatToDo);
    std::fflush(stdout);
}

} // namespace

void declareDoctor(CLI::App& command, DoctorOptions& options) {
    declareOptions(command, {{"--json", &options.isJson, "", "As JSON, for programs"}});
}

int runDoctor(const DoctorOptions& options) {
    // Findings say what the log would.
    if (Logger::minimumLevel() == LogLevel::error) Logger::exchangeSink([](const LogRecord&) {});
    auto all = nlohmann::ordered_json::array();
    bool isWell = true;
    examine([&](const Finding& finding) {
        isWell &= finding.state != Finding::State::wrong;
        if (!options.isJson) return print(finding);
        all.push_back({{"about", finding.about},
                       {"state", nameOf(finding.state)},
                       {"text", finding.text},
                       {"whatToDo", finding.whatToDo}});
    });
    // Names come from devices and may not be UTF-8.
    if (options.isJson)
        fmt::print("{}\n", all.dump(2, ' ', false, nlohmann::json::error_handler_t::replace));
    return isWell ? 0 : 1;
}

} // namespace lanternfly
