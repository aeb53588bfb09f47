// Keys as bindings name them, and what they write.
// Threads: safe.
#pragma once

#include <string>

class QKeyEvent;

namespace lanternfly {

// "Right", "Ctrl+Shift+S"; a spelling that keyName() takes, or empty for a modifier alone.
std::string keyText(const QKeyEvent& event);
// What the key writes, in UTF-8; empty for a key that writes nothing.
std::string writtenText(const QKeyEvent& event);

} // namespace lanternfly
