// The fixed palette of ink colours. Ink is drawn at 90 % opacity: every colour's alpha byte is E6.
// Threads: value.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

#include "base/Vectors.h"

namespace lanternfly {

class InkColor {
public:
    enum Case : uint8_t { red, orange, yellow, green, blue, indigo, violet, white, black };

    static constexpr std::array allCases{red,    orange, yellow, green, blue,
                                         indigo, violet, white,  black};
    static constexpr const auto& palette = allCases;
    static constexpr std::string_view defaultHex = "#FFFFFFE6"; // white

    constexpr InkColor(Case value) : _value(value) {}  // NOLINT: meant to convert
    constexpr operator Case() const { return _value; } // NOLINT: for switches

    std::string_view rawValue() const; // "red"
    std::string_view hex() const;      // "#RRGGBBAA", as strokes keep it
    float4 color() const;              // sRGB with straight alpha, 0…1

    // "#RRGGBB" or "#RRGGBBAA", the mark optional; null for anything else.
    static std::optional<float4> color(std::string_view fromHex);
    // The colour whose text this is, letter case aside.
    static std::optional<InkColor> match(std::string_view hex);

private:
    Case _value;
};

} // namespace lanternfly
