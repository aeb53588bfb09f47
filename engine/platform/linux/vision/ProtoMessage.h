// The fields of a protocol buffer message, as far as looking into networks needs them.
// Threads: value; borrows the bytes.
#pragma once

#include <cstdint>
#include <optional>
#include <span>

namespace lanternfly {

struct ProtoField {
    uint64_t number = 0;
    uint64_t wireType = 0;
    uint64_t value = 0;            // of a varint
    std::span<const char> bytes{}; // of a message, a text or packed numbers
};

// Reads a message field by field; ends at its end or at the first damage.
class ProtoMessage {
public:
    static constexpr uint64_t varint = 0, lengthDelimited = 2; // wire types

    explicit ProtoMessage(std::span<const char> bytes) : _rest(bytes) {}

    std::optional<ProtoField> next() {
        const auto key = number();
        if (!key) return std::nullopt;
        ProtoField field{.number = *key >> 3, .wireType = *key & 7};
        switch (field.wireType) {
        case varint:
            if (const auto value = number()) {
                field.value = *value;
                return field;
            }
            return std::nullopt;
        case 1:
            return taken(8) ? std::optional(field) : std::nullopt;
        case lengthDelimited:
            if (const auto size = number())
                if (const auto bytes = taken(*size)) {
                    field.bytes = *bytes;
                    return field;
                }
            return std::nullopt;
        case 5:
            return taken(4) ? std::optional(field) : std::nullopt;
        default:
            return std::nullopt;
        }
    }

    // The next of packed numbers.
    std::optional<uint64_t> number() {
        uint64_t value = 0;
        for (int shift = 0; shift < 64; shift += 7) {
            if (_rest.empty()) return std::nullopt;
            const auto byte = static_cast<uint8_t>(_rest.front());
            _rest = _rest.subspan(1);
            value |= static_cast<uint64_t>(byte & 0x7f) << shift;
            if (!(byte & 0x80)) return value;
        }
        return std::nullopt;
    }

private:
    std::optional<std::span<const char>> taken(uint64_t size) {
        if (size > _rest.size()) return std::nullopt;
        const auto bytes = _rest.first(size);
        _rest = _rest.subspan(size);
        return bytes;
    }

    std::span<const char> _rest;
};

// The first field of this number; empty when there is none.
inline std::span<const char> partOf(std::span<const char> message, uint64_t number) {
    ProtoMessage fields(message);
    while (const auto field = fields.next())
        if (field->number == number) return field->bytes;
    return {};
}

} // namespace lanternfly
