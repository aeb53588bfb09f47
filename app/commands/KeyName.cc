#include "app/commands/KeyName.h"

#include <algorithm>
#include <array>

namespace lanternfly {
namespace {

constexpr std::array<std::string_view, 4> modifiers{"Ctrl", "Alt", "Shift", "Meta"};
constexpr std::array<std::string_view, 23> namedKeys{
    "Left",  "Right",  "Up",    "Down",      "Home",    "End",  "PgUp", "PgDown",
    "Space", "Return", "Enter", "Backspace", "Tab",     "Esc",  "Ins",  "Del",
    "Pause", "Print",  "Menu",  "Play",      "Forward", "Back", "Help"};
constexpr int functionKeys = 35;

char lowered(char letter) {
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

bool isSame(std::string_view a, std::string_view b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char x, char y) { return lowered(x) == lowered(y); });
}

std::optional<std::string> functionKey(std::string_view text) {
    for (int number = 1; number <= functionKeys; ++number)
        if (auto name = "F" + std::to_string(number); isSame(text, name)) return name;
    return std::nullopt;
}

// Without modifiers.
std::optional<std::string> baseKey(std::string_view text) {
    if (text.size() == 1 && text[0] > ' ' && text[0] < '\x7f') {
        const char letter = lowered(text[0]);
        return std::string(1, letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A')
                                                             : letter);
    }
    for (const auto name : namedKeys)
        if (isSame(text, name)) return std::string(name);
    return functionKey(text);
}

} // namespace

std::optional<std::string> keyName(std::string_view text) {
    std::array<bool, modifiers.size()> isHeld{};
    while (true) {
        // "Ctrl++" is the plus key.
        const size_t plus = text.find('+');
        if (plus == text.npos || plus == 0 || plus + 1 == text.size()) break;
        const auto modifier = std::find_if(modifiers.begin(), modifiers.end(), [&](auto name) {
            return isSame(name, text.substr(0, plus));
        });
        if (modifier == modifiers.end()) return std::nullopt;
        isHeld[static_cast<size_t>(modifier - modifiers.begin())] = true;
        text.remove_prefix(plus + 1);
    }
    const auto key = baseKey(text);
    if (!key) return std::nullopt;
    std::string name;
    for (size_t i = 0; i < modifiers.size(); ++i)
        if (isHeld[i]) name.append(modifiers[i]).append("+");
    return name + *key;
}

} // namespace lanternfly
