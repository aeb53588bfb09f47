#include "app/commands/CommandTable.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <vector>

#include <fmt/format.h>

#include "annotate/InkColor.h"
#include "app/CommandError.h"
#include "app/TuningFields.h"
#include "app/commands/NearestName.h"
#include "base/Match.h"

namespace lanternfly {
namespace {

using namespace command;
using Parsed = std::optional<HostCommand>;

constexpr double leastInkWidthPX = 0.5, mostInkWidthPX = 500;

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\r\n";
    const size_t first = text.find_first_not_of(blanks);
    if (first == text.npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) + 1 - first);
}

std::string suggestion(std::string_view name, const std::vector<std::string_view>& names,
                       const char* otherwise) {
    const auto nearest = nearestName(name, names);
    return nearest.empty() ? otherwise : fmt::format("did you mean {}?", nearest);
}

std::string tuningSuggestion(std::string_view name) {
    std::vector<std::string_view> names;
    for (const TuningField& field : tuningFields())
        names.push_back(field.name);
    return suggestion(name, names, "lanternfly commands --tuning lists what can be tuned");
}

template <typename Number>
std::optional<Number> numberOf(std::string_view text) {
    Number number{};
    const auto [end, failure] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (failure != std::errc{} || end != text.data() + text.size()) return std::nullopt;
    return number;
}

template <typename Command>
Parsed plain(std::string_view argument) {
    if (!argument.empty()) return std::nullopt;
    return Command{};
}

template <typename Command, Switch to>
Parsed turned(std::string_view argument) {
    if (!argument.empty()) return std::nullopt;
    return Command{to};
}

struct SwitchNames {
    std::string_view on, off;
};
constexpr SwitchNames modeSwitch{"enter", "leave"}, plainSwitch{"on", "off"};

template <typename Command, const SwitchNames& names>
Parsed switchOf(std::string_view argument) {
    if (argument.empty() || argument == "toggle") return Command{Switch::toggle};
    if (argument == names.on) return Command{Switch::on};
    if (argument == names.off) return Command{Switch::off};
    return std::nullopt;
}

Parsed pageOf(std::string_view argument) {
    const auto page = numberOf<int>(argument);
    if (!page || *page < 1) return std::nullopt;
    return GoToPage{*page};
}

Parsed colourOf(std::string_view argument) {
    for (const InkColor ink : InkColor::palette)
        if (argument == ink.rawValue()) return SetInkColour{std::string(ink.hex())};
    if (!argument.starts_with('#') || !InkColor::color(argument)) return std::nullopt;
    return SetInkColour{std::string(argument)};
}

Parsed widthOf(std::string_view argument) {
    const auto px = numberOf<double>(argument);
    if (!px || !(*px >= leastInkWidthPX && *px <= mostInkWidthPX)) return std::nullopt;
    return SetInkWidth{*px};
}

Parsed typedText(std::string_view argument) {
    if (argument.empty()) return std::nullopt;
    return TypeText{std::string(argument)};
}

Parsed swapOf(std::string_view argument) {
    if (argument.empty() || argument == "toggle") return Swap{};
    if (argument == "off") return Swap{FullComposition{}};
    if (argument == "fit") return Swap{SwapComposition{SwapFillMode::fit}};
    if (argument == "fill") return Swap{SwapComposition{SwapFillMode::fill}};
    return std::nullopt;
}

Parsed darkenOf(std::string_view argument) {
    const auto amount = numberOf<float>(argument);
    if (!amount || !(*amount >= 0 && *amount <= 1)) return std::nullopt;
    return Darken{*amount};
}

Parsed tuneOf(std::string_view argument) {
    constexpr float mostEither = 1e6f; // far outside anything useful
    const size_t space = argument.find_first_of(" \t");
    if (space == argument.npos) return std::nullopt;
    const std::string_view name = argument.substr(0, space);
    const std::string_view text = trimmed(argument.substr(space));
    const auto& fields = tuningFields();
    const auto field = std::find_if(fields.begin(), fields.end(),
                                    [&](const auto& each) { return each.name == name; });
    if (field == fields.end())
        throw CommandError(
            fmt::format("there is nothing named {} to tune; {}", name, tuningSuggestion(name)));
    if (field->isSwitch) {
        if (text != plainSwitch.on && text != plainSwitch.off) return std::nullopt;
        return Tune{field->name, text == plainSwitch.on ? 1.0f : 0.0f};
    }
    const auto value = numberOf<float>(text);
    if (!value || !(std::abs(*value) <= mostEither)) return std::nullopt;
    return Tune{field->name, *value};
}

constexpr std::string_view nothing = "nothing after its name";
using Group = CommandGroup;

constexpr CommandRow rows[]{
    {"next-page", "", nothing, "Show the next page of the deck", Group::pages, "Right",
     plain<NextPage>},
    {"previous-page", "", nothing, "Show the page before", Group::pages, "Left",
     plain<PreviousPage>},
    {"go-to-page", "N", "a page number, 1 for the first", "Show page N", Group::pages, "", pageOf},
    {"first-page", "", nothing, "Show the first page", Group::pages, "Home", plain<FirstPage>},
    {"last-page", "", nothing, "Show the last page", Group::pages, "End", plain<LastPage>},

    {"show", "", nothing, "Show the slide", Group::slide, "", turned<SetShown, Switch::on>},
    {"hide", "", nothing, "Hide the slide", Group::slide, "", turned<SetShown, Switch::off>},
    {"toggle", "", nothing, "Show the slide, or hide it", Group::slide, "H",
     turned<SetShown, Switch::toggle>},
    {"place-upper-right", "", nothing, "Hang the slide into its corner", Group::slide, "1",
     plain<PlaceUpperRight>},
    {"place-centre", "", nothing, "Bring the slide to the middle", Group::slide, "2",
     plain<PlaceCentre>},
    {"lock", "", nothing, "Keep the slide where it is, whatever the hands do", Group::slide, "",
     turned<SetLocked, Switch::on>},
    {"unlock", "", nothing, "Let the hands hold the slide", Group::slide, "",
     turned<SetLocked, Switch::off>},
    {"toggle-lock", "", nothing, "Lock the slide, or unlock it", Group::slide, "L",
     turned<SetLocked, Switch::toggle>},

    {"draw", "[enter|leave|toggle]", "enter, leave or toggle", "Draw in the air with a pinch",
     Group::ink, "D", switchOf<SetDrawing, modeSwitch>},
    {"ink-colour", "NAME|#RRGGBB[AA]",
     "red, orange, yellow, green, blue, indigo, violet, white, black, or a colour such as #E55B5B",
     "Colour of the strokes to come", Group::ink, "", colourOf},
    {"ink-width", "PX", "a width from 0.5 to 500 pixels of the output",
     "Width of the strokes to come", Group::ink, "", widthOf},
    {"keep-ink", "[on|off|toggle]", "on, off or toggle",
     "Keep strokes until they are cleared, instead of letting them go after a while", Group::ink,
     "K", switchOf<KeepInk, plainSwitch>},
    {"clear-ink", "", nothing, "Take all ink away", Group::ink, "X", plain<ClearInk>},

    {"type", "[enter|leave|toggle]", "enter, leave or toggle", "Write on the picture", Group::text,
     "T", switchOf<SetTyping, modeSwitch>},
    {"type-text", "TEXT", "the text to add", "Add a text while typing", Group::text, "", typedText},
    {"type-newline", "", nothing, "Begin a new line while typing", Group::text, "",
     plain<TypeNewline>},
    {"delete-backward", "", nothing, "Remove the last character while typing", Group::text, "",
     plain<DeleteBackward>},
    {"clear-text", "", nothing, "Take all text away", Group::text, "", plain<ClearText>},

    {"swap", "[off|fit|fill|toggle]", "off, fit, fill or toggle",
     "Let slide and camera change places; fit shows the whole slide, fill covers the "
     "picture",
     Group::picture, "S", swapOf},
    {"darken", "0..1", "a number from 0, bright, to 1, black", "Darken the picture", Group::picture,
     "", darkenOf},
    {"mirror", "[on|off|toggle]", "on, off or toggle", "Mirror the camera", Group::picture, "M",
     switchOf<SetMirrored, plainSwitch>},

    {"reset", "", nothing, "Everything but the page as it was at the start", Group::session, "",
     plain<Reset>},
    {"tune", "FIELD VALUE",
     "a field and its value, such as tracking.springStiffness 600 or model3dLighting.iblEnabled "
     "off",
     "Set how hands, slide and glass behave, until the end of the session", Group::session, "",
     tuneOf},
    {"reset-tuning", "", nothing, "Back to the tuning that was saved", Group::session, "",
     plain<ResetTuning>},
    {"save-tuning", "", nothing, "Keep the tuning as the default of later sessions", Group::session,
     "", plain<SaveTuning>},
};

std::string commandSuggestion(std::string_view name) {
    std::vector<std::string_view> names;
    for (const CommandRow& row : rows)
        names.push_back(row.name);
    return suggestion(name, names, "lanternfly commands lists them");
}

std::string switchText(std::string_view name, const SwitchNames& names, Switch to) {
    return fmt::format("{} {}", name,
                       to == Switch::toggle ? "toggle"
                       : to == Switch::on   ? names.on
                                            : names.off);
}

std::string textOfSwap(const Swap& swap) {
    if (!swap.to) return "swap toggle";
    const auto* swapped = std::get_if<SwapComposition>(&*swap.to);
    if (!swapped) return "swap off";
    return swapped->fillMode == SwapFillMode::fit ? "swap fit" : "swap fill";
}

std::string textOfTune(const Tune& tune) {
    const auto& fields = tuningFields();
    const bool isSwitch = std::any_of(fields.begin(), fields.end(), [&](const auto& field) {
        return field.isSwitch && field.name == tune.field;
    });
    if (isSwitch)
        return fmt::format("tune {} {}", tune.field,
                           tune.value != 0 ? plainSwitch.on : plainSwitch.off);
    return fmt::format("tune {} {}", tune.field, tune.value);
}

} // namespace

std::string_view nameOf(CommandGroup group) {
    switch (group) {
    case CommandGroup::pages:
        return "pages";
    case CommandGroup::slide:
        return "slide";
    case CommandGroup::ink:
        return "ink";
    case CommandGroup::text:
        return "text";
    case CommandGroup::picture:
        return "picture";
    case CommandGroup::session:
        return "session";
    }
    return "";
}

std::span<const CommandRow> commandTable() {
    return rows;
}

HostCommand parseCommand(std::string_view text) {
    text = trimmed(text);
    const size_t space = text.find_first_of(" \t");
    const std::string_view name = text.substr(0, space);
    const std::string_view argument =
        space == text.npos ? std::string_view{} : trimmed(text.substr(space));
    if (name.empty()) throw CommandError("the command is missing; lanternfly commands lists them");
    for (const CommandRow& row : rows) {
        if (row.name != name) continue;
        if (auto command = row.parse(argument)) return *command;
        throw CommandError(argument.empty()
                               ? fmt::format("{} takes {}", name, row.expected)
                               : fmt::format("{} takes {}, not {}", name, row.expected, argument));
    }
    throw CommandError(fmt::format("there is no command {}; {}", name, commandSuggestion(name)));
}

std::string textOf(const HostCommand& command) {
    return match(
        command, [](const NextPage&) { return std::string("next-page"); },
        [](const PreviousPage&) { return std::string("previous-page"); },
        [](const GoToPage& to) { return fmt::format("go-to-page {}", to.page); },
        [](const FirstPage&) { return std::string("first-page"); },
        [](const LastPage&) { return std::string("last-page"); },
        [](const SetShown& shown) -> std::string {
            return shown.to == Switch::toggle ? "toggle" : shown.to == Switch::on ? "show" : "hide";
        },
        [](const PlaceUpperRight&) { return std::string("place-upper-right"); },
        [](const PlaceCentre&) { return std::string("place-centre"); },
        [](const SetLocked& locked) -> std::string {
            return locked.to == Switch::toggle ? "toggle-lock"
                   : locked.to == Switch::on   ? "lock"
                                               : "unlock";
        },
        [](const SetDrawing& drawing) { return switchText("draw", modeSwitch, drawing.to); },
        [](const SetInkColour& colour) { return "ink-colour " + colour.hex; },
        [](const SetInkWidth& width) { return fmt::format("ink-width {}", width.px); },
        [](const KeepInk& keep) { return switchText("keep-ink", plainSwitch, keep.to); },
        [](const ClearInk&) { return std::string("clear-ink"); },
        [](const SetTyping& typing) { return switchText("type", modeSwitch, typing.to); },
        [](const TypeText& typed) { return "type-text " + typed.text; },
        [](const TypeNewline&) { return std::string("type-newline"); },
        [](const DeleteBackward&) { return std::string("delete-backward"); },
        [](const ClearText&) { return std::string("clear-text"); },
        [](const Swap& swap) { return textOfSwap(swap); },
        [](const Darken& darken) { return fmt::format("darken {}", darken.amount); },
        [](const SetMirrored& mirrored) { return switchText("mirror", plainSwitch, mirrored.to); },
        [](const Reset&) { return std::string("reset"); },
        [](const Tune& tune) { return textOfTune(tune); },
        [](const ResetTuning&) { return std::string("reset-tuning"); },
        [](const SaveTuning&) { return std::string("save-tuning"); });
}

} // namespace lanternfly
