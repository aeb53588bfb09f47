#include "annotate/InkColor.h"

#include <algorithm>

#include "document/HexColor.h"

namespace lanternfly {

namespace {

struct Ink {
    std::string_view rawValue, hex;
};
constexpr std::array<Ink, InkColor::allCases.size()> inks{{{"red", "#E55B5BE6"},
                                                           {"orange", "#E89248E6"},
                                                           {"yellow", "#E3B948E6"},
                                                           {"green", "#5FB57FE6"},
                                                           {"blue", "#5C8FCCE6"},
                                                           {"indigo", "#7A6FCBE6"},
                                                           {"violet", "#A874C6E6"},
                                                           {"white", "#FFFFFFE6"},
                                                           {"black", "#1A1A1AE6"}}};

// Of ASCII letters, in every locale.
char upperCased(char letter) {
    return letter >= 'a' && letter <= 'z' ? static_cast<char>(letter - 'a' + 'A') : letter;
}

} // namespace

std::string_view InkColor::rawValue() const {
    return inks.at(_value).rawValue;
}

std::string_view InkColor::hex() const {
    return inks.at(_value).hex;
}

float4 InkColor::color() const {
    return color(hex()).value_or(float4{1});
}

std::optional<float4> InkColor::color(std::string_view fromHex) {
    return parseHexColor(fromHex);
}

std::optional<InkColor> InkColor::match(std::string_view hex) {
    for (const InkColor ink : allCases)
        if (std::equal(
                hex.begin(), hex.end(), ink.hex().begin(), ink.hex().end(),
                [](char given, char known) { return upperCased(given) == upperCased(known); }))
            return ink;
    return std::nullopt;
}

} // namespace lanternfly
