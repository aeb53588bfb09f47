#include "app/cli/Options.h"

#include <CLI/CLI.hpp>

#include "base/Match.h"

namespace lanternfly {

void declareOptions(CLI::App& command, std::initializer_list<OptionRow> rows) {
    for (const OptionRow& row : rows) {
        CLI::Option* option = match(
            row.target, [&](bool* isSet) { return command.add_flag(row.name, *isSet, row.help); },
            [&](auto* value) { return command.add_option(row.name, *value, row.help); });
        match(
            row.target, [](const bool*) {}, [&](const int*) { option->capture_default_str(); },
            [&](const std::string* value) {
                if (!value->empty()) option->capture_default_str();
            },
            [&](std::vector<std::string>*) { option->delimiter(',')->take_all(); },
            [](const auto*) {});
        if (*row.type) option->type_name(row.type);
        option->required(row.isRequired);
    }
}

} // namespace lanternfly
