#include <gtest/gtest.h>

#include "app/commands/KeyName.h"

namespace lanternfly {
namespace {

TEST(KeyName, HasOneSpelling) {
    const std::pair<const char*, const char*> rows[]{
        {"Right", "Right"},
        {"right", "Right"},
        {"a", "A"},
        {"A", "A"},
        {"7", "7"},
        {"?", "?"},
        {"+", "+"},
        {"f5", "F5"},
        {"F35", "F35"},
        {"PGDOWN", "PgDown"},
        {"ctrl+s", "Ctrl+S"},
        {"Shift+Ctrl+s", "Ctrl+Shift+S"},
        {"Meta+Alt+Esc", "Alt+Meta+Esc"},
        {"Ctrl++", "Ctrl++"},
        {"Ctrl+Ctrl+Left", "Ctrl+Left"},
    };
    for (const auto& [text, name] : rows)
        EXPECT_EQ(keyName(text), name) << text;
}

TEST(KeyName, RefusesWhatIsNoKey) {
    for (const char* text : {"", " ", "Rihgt", "F0", "F36", "Ctrl+", "Hyper+A", "Ctrl", "ab",
                             "\xc3\xa4", "Ctrl+Rihgt", "++", "A+B"})
        EXPECT_EQ(keyName(text), std::nullopt) << text;
}

} // namespace
} // namespace lanternfly
