// The signs that a hand can be held in, by their names.
// Threads: value.
#pragma once

#include "app/NameTable.h"
#include "gestures/HandGestureRecognizer.h"

namespace lanternfly {

using HandSign = HandGestureRecognizer::Event;

inline constexpr NameTable<HandSign, 1> handSignNames{{{HandSign::peaceSign, "peace-sign"}}};

constexpr std::string_view nameOf(HandSign sign) {
    return nameIn(handSignNames, sign);
}

} // namespace lanternfly
