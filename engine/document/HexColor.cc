#include "document/HexColor.h"

#include <charconv>
#include <cstdint>

namespace lanternfly {

std::optional<float4> parseHexColor(std::string_view text) {
    if (text.starts_with('#')) text.remove_prefix(1);
    if (text.size() != 6 && text.size() != 8) return std::nullopt;
    uint32_t value = 0;
    const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value, 16);
    if (parsed.ec != std::errc{} || parsed.ptr != text.data() + text.size()) return std::nullopt;
    if (text.size() == 6) value = value << 8 | 0xff;
    const auto channel = [&](int shift) {
        return static_cast<float>(value >> shift & 0xff) / 255.0f;
    };
    return float4{channel(24), channel(16), channel(8), channel(0)};
}

} // namespace lanternfly
