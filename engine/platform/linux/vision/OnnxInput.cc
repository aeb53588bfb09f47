#include "platform/linux/vision/OnnxInput.h"

#include <array>
#include <cstdint>
#include <limits>

#include "platform/linux/vision/ProtoMessage.h"

namespace lanternfly {
namespace {

// The fields of onnx.proto3 on the way from a model to the sizes of an input.
namespace field {
constexpr uint64_t modelGraph = 7, graphInput = 11, valueType = 2, typeTensor = 1, tensorShape = 2,
                   shapeDimension = 1, dimensionValue = 1;
}

uint64_t sizeOf(std::span<const char> dimension) {
    ProtoMessage fields(dimension);
    while (const auto field = fields.next())
        if (field->number == field::dimensionValue) return field->value;
    return 0;
}

std::optional<int2> pictureSize(std::span<const char> input) {
    const auto type = partOf(input, field::valueType);
    const auto shape = partOf(partOf(type, field::typeTensor), field::tensorShape);
    std::array<uint64_t, 4> sizes{};
    size_t count = 0;
    ProtoMessage dimensions(shape);
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
    ProtoMessage graph(partOf(onnx, field::modelGraph));
    while (const auto member = graph.next())
        if (member->number == field::graphInput)
            if (const auto size = pictureSize(member->bytes)) return size;
    return std::nullopt;
}

} // namespace lanternfly
