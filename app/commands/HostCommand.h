// What a user can ask the host to do: by a sign, a key, a script or from another program.
// Threads: value.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "render/CompositionMode.h"

namespace lanternfly {

enum class Switch { off, on, toggle };
constexpr bool switched(bool isOn, Switch to) {
    return to == Switch::toggle ? !isOn : to == Switch::on;
}

namespace command {

template <typename Command>
struct Plain { // all commands without an argument are the same
    friend bool operator==(const Command&, const Command&) { return true; }
};

struct NextPage : Plain<NextPage> {};
struct PreviousPage : Plain<PreviousPage> {};
struct GoToPage {
    int page = 1; // from 1
    friend bool operator==(const GoToPage&, const GoToPage&) = default;
};
struct FirstPage : Plain<FirstPage> {};
struct LastPage : Plain<LastPage> {};

struct SetShown {
    Switch to;
    friend bool operator==(const SetShown&, const SetShown&) = default;
};
struct PlaceUpperRight : Plain<PlaceUpperRight> {};
struct PlaceCentre : Plain<PlaceCentre> {};
struct SetLocked {
    Switch to;
    friend bool operator==(const SetLocked&, const SetLocked&) = default;
};

struct SetDrawing {
    Switch to;
    friend bool operator==(const SetDrawing&, const SetDrawing&) = default;
};
struct SetInkColour {
    std::string hex; // "#RRGGBB" or "#RRGGBBAA"
    friend bool operator==(const SetInkColour&, const SetInkColour&) = default;
};
struct SetInkWidth {
    double px; // of the output picture
    friend bool operator==(const SetInkWidth&, const SetInkWidth&) = default;
};
struct KeepInk { // on: ink stays until it is cleared
    Switch to;
    friend bool operator==(const KeepInk&, const KeepInk&) = default;
};
struct ClearInk : Plain<ClearInk> {};

struct SetTyping {
    Switch to;
    friend bool operator==(const SetTyping&, const SetTyping&) = default;
};
struct TypeText {
    std::string text; // UTF-8
    friend bool operator==(const TypeText&, const TypeText&) = default;
};
struct TypeNewline : Plain<TypeNewline> {};
struct DeleteBackward : Plain<DeleteBackward> {};
struct ClearText : Plain<ClearText> {};

struct Swap { // slide and camera change places; absent: swapped or not, in turn
    std::optional<CompositionMode> to;
    friend bool operator==(const Swap&, const Swap&) = default;
};
struct Darken {
    float amount; // 0…1
    friend bool operator==(const Darken&, const Darken&) = default;
};
struct SetMirrored {
    Switch to;
    friend bool operator==(const SetMirrored&, const SetMirrored&) = default;
};

struct Reset : Plain<Reset> {};
struct Tune {
    std::string field; // as tuningFields() names it
    float value;       // of a switch 0 or 1
    friend bool operator==(const Tune&, const Tune&) = default;
};
struct ResetTuning : Plain<ResetTuning> {};
struct SaveTuning : Plain<SaveTuning> {};

} // namespace command

using HostCommand =
    std::variant<command::NextPage, command::PreviousPage, command::GoToPage, command::FirstPage,
                 command::LastPage, command::SetShown, command::PlaceUpperRight,
                 command::PlaceCentre, command::SetLocked, command::SetDrawing,
                 command::SetInkColour, command::SetInkWidth, command::KeepInk, command::ClearInk,
                 command::SetTyping, command::TypeText, command::TypeNewline,
                 command::DeleteBackward, command::ClearText, command::Swap, command::Darken,
                 command::SetMirrored, command::Reset, command::Tune, command::ResetTuning,
                 command::SaveTuning>;

} // namespace lanternfly
