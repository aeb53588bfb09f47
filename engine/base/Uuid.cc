#include "base/Uuid.h"

#include <random>

#include <fmt/format.h>

namespace lanternfly {

Uuid Uuid::random() {
    std::random_device source;
    Uuid made;
    for (size_t i = 0; i < made.bytes.size(); i += 4) {
        const auto word = static_cast<uint32_t>(source());
        for (size_t k = 0; k < 4; ++k)
            made.bytes[i + k] = static_cast<uint8_t>(word >> (8 * k));
    }
    made.bytes[6] = static_cast<uint8_t>((made.bytes[6] & 0x0f) | 0x40);
    made.bytes[8] = static_cast<uint8_t>((made.bytes[8] & 0x3f) | 0x80);
    return made;
}

std::string Uuid::text() const {
    std::string text;
    for (size_t i = 0; i < bytes.size(); ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) text += '-';
        text += fmt::format("{:02x}", bytes[i]);
    }
    return text;
}

} // namespace lanternfly
