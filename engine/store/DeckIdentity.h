// A short, stable identity of a deck's file in its present state.
// Threads: safe.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace lanternfly::DeckIdentity {

// 16 hexadecimal digits that change when the file is moved, resized or touched. Its contents are
// not read, so this is fast however large the deck. Absent when the URL is not of a file of this
// machine or the file's attributes cannot be read.
std::optional<std::string> hash(std::string_view forFileURL);

} // namespace lanternfly::DeckIdentity
