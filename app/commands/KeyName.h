// Names of keys as bindings have them: "Right", "PgDown", "F5", "Ctrl+Shift+S".
// Threads: safe.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lanternfly {

// The one spelling of a key: modifiers in the order Ctrl, Alt, Shift, Meta, then a letter, digit or
// sign as it is printed (letters large), F1 to F35, or a name such as Right. Letter case and the
// order of modifiers in `text` do not matter. Absent when there is no such key.
std::optional<std::string> keyName(std::string_view text);

} // namespace lanternfly
