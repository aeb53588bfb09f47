// A command's options as a table: what the user writes, where it goes, what it means.
// Threads: bound.
#pragma once

#include <filesystem>
#include <initializer_list>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace CLI {
class App;
}

namespace lanternfly {

struct OptionRow {
    // A bool is a switch; of the others the value that it holds is shown as the default. What it
    // points to outlives the app.
    using Target =
        std::variant<bool*, int*, std::string*, std::filesystem::path*, std::optional<std::string>*,
                     std::optional<std::filesystem::path>*, std::vector<std::string>*>;

    const char* name; // "--deck", or a word without dashes for what is written without a name
    Target target;
    const char* type; // what stands for the value in the help: "PDF"; empty for a switch
    const char* help;
    bool isRequired = false;
};

void declareOptions(CLI::App& command, std::initializer_list<OptionRow> rows);

} // namespace lanternfly
