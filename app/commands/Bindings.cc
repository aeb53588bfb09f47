#include "app/commands/Bindings.h"

#include <algorithm>
#include <utility>

#include <fmt/format.h>

#include "app/CommandError.h"
#include "app/VersionedObject.h"
#include "app/commands/CommandTable.h"
#include "app/commands/KeyName.h"

namespace lanternfly {
namespace {

bool isCovered(std::optional<HostMode> bound, HostMode mode) {
    return bound ? *bound == mode : mode != HostMode::typing;
}

template <typename Trigger>
const HostCommand* find(const std::vector<Binding<Trigger>>& rows, const Trigger& trigger,
                        HostMode mode) {
    const HostCommand* found = nullptr;
    for (const auto& row : rows) {
        if (row.trigger != trigger || !isCovered(row.mode, mode)) continue;
        if (row.mode) return &row.command;
        if (!found) found = &row.command;
    }
    return found;
}

// A row that is not as it should be; the text follows its list and number.
class RowProblem : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

std::string textAt(const nlohmann::json& row, const char* field, const char* example) {
    const auto found = row.find(field);
    if (found == row.end())
        throw RowProblem(fmt::format("\"{0}\" is missing; add \"{0}\": \"{1}\"", field, example));
    if (!found->is_string())
        throw RowProblem(fmt::format("\"{0}\" must be a text, such as \"{1}\"", field, example));
    return found->get<std::string>();
}

std::optional<HostMode> modeAt(const nlohmann::json& row) {
    if (!row.contains("mode")) return std::nullopt;
    const std::string name = textAt(row, "mode", "slide");
    const auto mode = valueIn(hostModeNames, name);
    if (!mode)
        throw RowProblem(fmt::format("there is no mode \"{}\"; write slide, drawing, typing or "
                                     "model, or leave \"mode\" out",
                                     name));
    return mode;
}

HandSign signAt(const nlohmann::json& row) {
    const std::string name = textAt(row, "sign", "peace-sign");
    const auto sign = valueIn(handSignNames, name);
    if (!sign) throw RowProblem(fmt::format("there is no sign \"{}\"; write \"peace-sign\"", name));
    return *sign;
}

std::string keyAt(const nlohmann::json& row) {
    const std::string text = textAt(row, "key", "Right");
    auto key = keyName(text);
    if (!key)
        throw RowProblem(fmt::format("there is no key \"{}\"; write a letter, a digit or a name "
                                     "such as Right, PgDown, F5, Ctrl+Shift+S",
                                     text));
    return *key;
}

template <typename Trigger>
Binding<Trigger> parseRow(const nlohmann::json& row, Trigger (*triggerAt)(const nlohmann::json&)) {
    if (!row.is_object()) throw RowProblem("a row is written in braces, {…}");
    try {
        return {triggerAt(row), modeAt(row), parseCommand(textAt(row, "command", "next-page"))};
    } catch (const CommandError& error) {
        throw RowProblem(error.what());
    }
}

template <typename Trigger>
std::vector<Binding<Trigger>> parseList(const nlohmann::json& file, const char* list,
                                        const std::vector<Binding<Trigger>>& builtIn,
                                        Trigger (*triggerAt)(const nlohmann::json&),
                                        std::vector<std::string>& problems) {
    const auto found = file.find(list);
    if (found == file.end()) return builtIn;
    if (!found->is_array()) {
        problems.push_back(
            fmt::format("\"{}\" must be a list, [ ]; the built-in one is used", list));
        return builtIn;
    }
    std::vector<Binding<Trigger>> rows;
    for (size_t number = 1; const auto& row : *found) {
        try {
            auto binding = parseRow(row, triggerAt);
            const bool isTaken = std::any_of(rows.begin(), rows.end(), [&](const auto& other) {
                return other.trigger == binding.trigger && other.mode == binding.mode;
            });
            if (isTaken)
                throw RowProblem(
                    "a row above already says what this does in this mode; remove one");
            rows.push_back(std::move(binding));
        } catch (const RowProblem& problem) {
            problems.push_back(fmt::format("{}, row {}: {}", list, number, problem.what()));
        }
        ++number;
    }
    return rows;
}

template <typename Trigger>
nlohmann::ordered_json jsonRow(const char* name, std::string_view trigger,
                               const Binding<Trigger>& binding) {
    nlohmann::ordered_json row{{name, trigger}};
    if (binding.mode) row["mode"] = nameOf(*binding.mode);
    row["command"] = textOf(binding.command);
    return row;
}

Bindings builtIn() {
    using namespace command;
    Bindings bindings;
    bindings.signs = {{HandSign::peaceSign, HostMode::slide, NextPage{}},
                      {HandSign::peaceSign, HostMode::drawing, SetDrawing{Switch::off}},
                      {HandSign::peaceSign, HostMode::model, NextPage{}}};
    for (const CommandRow& row : commandTable())
        if (!row.key.empty())
            bindings.keys.push_back({std::string(row.key), std::nullopt, parseCommand(row.name)});
    const auto also = [&](const char* key, std::optional<HostMode> mode, HostCommand command) {
        bindings.keys.push_back({key, mode, std::move(command)});
    };
    // What presenters' remotes send.
    also("PgDown", std::nullopt, NextPage{});
    also("PgUp", std::nullopt, PreviousPage{});
    also("Space", std::nullopt, NextPage{});
    also("Esc", HostMode::drawing, SetDrawing{Switch::off});
    also("Esc", HostMode::typing, SetTyping{Switch::off});
    also("Return", HostMode::typing, TypeNewline{});
    also("Enter", HostMode::typing, TypeNewline{});
    also("Backspace", HostMode::typing, DeleteBackward{});
    return bindings;
}

} // namespace

const Bindings& Bindings::defaults() {
    static const Bindings bindings = builtIn();
    return bindings;
}

const HostCommand* Bindings::commandFor(HandSign sign, HostMode mode) const {
    return find(signs, sign, mode);
}

const HostCommand* Bindings::commandForKey(std::string_view key, HostMode mode) const {
    const auto name = keyName(key);
    return name ? find(keys, *name, mode) : nullptr;
}

ReadBindings parseBindings(std::string_view json) {
    const auto refused = [](std::string why) {
        return ReadBindings{Bindings::defaults(), {why + "; the built-in bindings are used"}};
    };
    nlohmann::json file;
    try {
        file = parseVersionedObject(json, Bindings::version);
    } catch (const std::exception& error) {
        return refused(error.what());
    }
    ReadBindings read;
    const Bindings& defaults = Bindings::defaults();
    read.bindings.signs = parseList(file, "signs", defaults.signs, signAt, read.problems);
    read.bindings.keys = parseList(file, "keys", defaults.keys, keyAt, read.problems);
    return read;
}

std::string jsonOf(const Bindings& bindings) {
    // A row a line reads like the table that it is.
    const auto list = [](const auto& rows, const auto& rowOf) {
        std::string text;
        for (const auto& row : rows)
            text += fmt::format("{}\n    {}", text.empty() ? "" : ",", rowOf(row).dump());
        return text;
    };
    return fmt::format(
        "{{\n  \"version\": {},\n  \"signs\": [{}\n  ],\n  \"keys\": [{}\n  ]\n}}\n",
        Bindings::version,
        list(bindings.signs,
             [](const auto& row) { return jsonRow("sign", nameOf(row.trigger), row); }),
        list(bindings.keys, [](const auto& row) { return jsonRow("key", row.trigger, row); }));
}

} // namespace lanternfly
