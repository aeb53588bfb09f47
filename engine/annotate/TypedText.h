// What typing does to a text.
// Threads: value.
#pragma once

#include <string>
#include <string_view>

namespace lanternfly {

// The text with every byte that is no UTF-8 replaced by U+FFFD, so that whoever gets it may rely on
// it.
std::string wellFormedUtf8(std::string_view text);

// Removes the last character as people see it: a letter with its accents, a whole emoji, a flag
// (Unicode Standard Annex 29, extended grapheme clusters). Nothing when the text is empty.
void removeLastCharacter(std::string& text);

} // namespace lanternfly
