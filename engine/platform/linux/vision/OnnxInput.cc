#include "platform/linux/vision/OnnxInput.h"

#include <array>
#include <cstdint>
#include <limits>

namespace lanternfly {
namespace {

// The fields of onnx.proto3 on the way from a model to the sizes of an input.
namespace field {
constexpr uint64_t modelGraph = 7, graphInput = 11, valueType = 2, typeTensor = 1, tensorShape = 2,
                   shapeDimension = 1, dimensionValue = 1;
}

// One field of a protocol buffer message.
struct Field {
    uint64_t number = 0;
    uint64_t value = 0;            // of a varint
    std::span<const char> bytes{}; // of a message
};

// Reads a message field by field; ends at its end or at the first damage.
class Message {
public:
    explicit Message(std::span<const char> bytes) : _rest(bytes) {}

    std::optional<Field> next() {
        const auto key = varint();
        if (!key) return std::nullopt;
        Field field{.number = *key >> 3};
        switch (*key & 7) {
        case 0:
            if (const auto value = varint()) {
                field.value = *value;
                return field;
            }
            return std::nullopt;
        case 1:
            return taken(8) ? std::optional(field) : std::nullopt;
        case 2:
            if (const auto size = varint())
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

private:
    std::optional<uint64_t> varint() {
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
    std::optional<std::span<const char>> taken(uint64_t size) {
        if (size > _rest.size()) return std::nullopt;
        const auto bytes = _rest.first(size);
        _rest = _rest.subspan(size);
        return bytes;
    }

    std::span<const char> _rest;
};

// The first field of this number; empty when there is none.
std::span<const char> part(std::span<const char> message, uint64_t number) {
    Message fields(message);
    while (const auto field = fields.next())
        if (field->number == number) return field->bytes;
    return {};
}

uint64_t sizeOf(std::span<const char> dimension) {
    Message fields(dimension);
    while (const auto field = fields.next())
        if (field->number == field::dimensionValue) return field->value;
    return 0;
}

std::optional<int2> pictureSize(std::span<const char> input) {
    const auto type = part(input, field::valueType);
    const auto shape = part(part(type, field::typeTensor), field::tensorShape);
    std::array<uint64_t, 4> sizes{};
    size_t count = 0;
    Message dimensions(shape);
    while (const auto dimension = dimensions.next()) {
        if (dimension->number != field::shapeDimension) continue;
        if (count == sizes.size()) return std::nullopt;
        sizes[count++] = sizeOf(dimension->bytes);
    }
    constexpr uint64_t most = std::numeric_limits<int>::max();
    if (count < sizes.size() || sizes[0] != 1 || sizes[1] != 3) return std::nullopt;
    if (sizes[2] == 0 || sizes[2] > most || sizes[3] == 0 || sizes[3] > most) return std::nullopt;
    return int2(static_cast<int>(sizes[3]), static_cast<int>(sizes[2]));
}

} // namespace

std::optional<int2> pictureInputOf(std::span<const char> onnx) {
    Message graph(part(onnx, field::modelGraph));
    while (const auto member = graph.next())
        if (member->number == field::graphInput)
            if (const auto size = pictureSize(member->bytes)) return size;
    return std::nullopt;
}

} // namespace lanternfly
