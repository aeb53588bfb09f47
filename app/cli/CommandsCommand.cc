#include "app/cli/CommandsCommand.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "app/CommandError.h"
#include "app/TuningFields.h"
#include "app/cli/Options.h"
#include "app/commands/BindingsFile.h"
#include "app/commands/CommandTable.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

std::string usageOf(const CommandRow& row) {
    return row.argument.empty() ? std::string(row.name)
                                : fmt::format("{} {}", row.name, row.argument);
}

// Every text of the bindings once, whatever their triggers are.
template <typename Row>
void forEachBinding(const Bindings& bindings, Row row) {
    for (const auto& binding : bindings.signs)
        row("sign", std::string(nameOf(binding.trigger)), binding.mode, textOf(binding.command));
    for (const auto& binding : bindings.keys)
        row("key", binding.trigger, binding.mode, textOf(binding.command));
}

void printTables(const Bindings& bindings, const std::string& place) {
    size_t width = 0;
    for (const CommandRow& row : commandTable())
        width = std::max(width, usageOf(row).size());
    for (const CommandGroup group : allCommandGroups) {
        fmt::print("{}\n", nameOf(group));
        for (const CommandRow& row : commandTable())
            if (row.group == group) fmt::print("  {:<{}}  {}\n", usageOf(row), width, row.summary);
    }
    fmt::print("\nbindings ({})\n", place);
    forEachBinding(bindings, [](const char* kind, const std::string& trigger,
                                std::optional<HostMode> mode, const std::string& command) {
        fmt::print("  {:<4}  {:<12}  {:<10}  {}\n", kind, trigger,
                   mode ? nameOf(*mode) : "not typing", command);
    });
}

void printJson(const Bindings& bindings, const std::string& place) {
    using Json = nlohmann::ordered_json;
    Json commands = Json::array(), rows = Json::array();
    for (const CommandRow& row : commandTable())
        commands.push_back({{"name", row.name},
                            {"argument", row.argument},
                            {"group", nameOf(row.group)},
                            {"summary", row.summary}});
    forEachBinding(bindings, [&](const char* kind, const std::string& trigger,
                                 std::optional<HostMode> mode, const std::string& command) {
        Json row{{kind, trigger}};
        if (mode) row["mode"] = nameOf(*mode);
        row["command"] = command;
        rows.push_back(row);
    });
    fmt::print("{}\n", Json{{"commands", commands}, {"bindings", rows}, {"file", place}}.dump(2));
}

std::string valueOf(const TuningField& field) {
    if (field.isSwitch) return field.builtIn != 0 ? "on" : "off";
    return fmt::format("{}", field.builtIn);
}

void printTuning(bool isJson) {
    nlohmann::ordered_json json;
    for (const TuningField& field : tuningFields()) {
        if (isJson)
            json[field.name] = valueOf(field);
        else
            fmt::print("{:<44}{}\n", field.name, valueOf(field));
    }
    if (isJson) fmt::print("{}\n", json.dump(2));
}

} // namespace

void declareCommands(CLI::App& command, CommandsOptions& options) {
    declareOptions(command, {{"--json", &options.isJson, "", "As JSON, for programs"},
                             {"--tuning", &options.showsTuning, "",
                              "List what tune can set, with the built-in values, instead"},
                             {"--bindings", &options.bindings, "FILE",
                              "Bindings of signs and keys, instead of the user's own"},
                             {"--write-defaults", &options.writesDefaults, "",
                              "Write the built-in bindings to that file first, to edit them"}});
}

int runCommands(const CommandsOptions& options) {
    if (options.showsTuning) {
        printTuning(options.isJson);
        return 0;
    }
    const auto file = options.bindings ? options.bindings : userBindingsFile();
    if (options.writesDefaults) {
        if (!file)
            throw CommandError("there is no home to write the bindings to; name a file with "
                               "--bindings");
        writeDefaultBindings(*file);
    }
    const auto read = loadBindings(options.bindings);
    std::error_code failure;
    const std::string place = !file ? "built in"
                              : fs::exists(*file, failure)
                                  ? file->string()
                                  : fmt::format("built in; yours would be in {}", file->string());
    if (options.isJson)
        printJson(read.bindings, place);
    else
        printTables(read.bindings, place);
    for (const std::string& problem : read.problems)
        fmt::print(stderr, "lanternfly: {}\n", problem);
    return 0;
}

} // namespace lanternfly
