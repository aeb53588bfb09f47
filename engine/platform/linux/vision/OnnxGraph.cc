#include "platform/linux/vision/OnnxGraph.h"

#include <algorithm>
#include <limits>
#include <string_view>
#include <unordered_set>

#include "platform/linux/vision/ProtoMessage.h"

namespace lanternfly {
namespace {

// The fields of onnx.proto3 that are looked at.
namespace field {
constexpr uint64_t modelGraph = 7, graphNode = 1, graphConstant = 5, graphInput = 11, inputName = 1,
                   nodeInput = 1, nodeOutput = 2, nodeKind = 4, tensorSize = 1, tensorType = 2,
                   tensorFloats = 4, tensorInts = 5, tensorLongs = 7, tensorName = 8,
                   tensorBytes = 9, tensorDoubles = 10;
}

using Names = std::unordered_set<std::string_view>;

std::string_view textOf(std::span<const char> bytes) {
    return {bytes.data(), bytes.size()};
}

// Of a number in `tensorBytes`; 0 for types that OpenCV does not read.
uint64_t bytesPerNumber(uint64_t type) {
    switch (type) {
    case 2: // uint8
    case 3: // int8
        return 1;
    case 1: // float
    case 6: // int32
        return 4;
    case 7:  // int64
    case 11: // double
        return 8;
    default:
        return 0;
    }
}

uint64_t varintsIn(std::span<const char> packed) {
    return static_cast<uint64_t>(std::ranges::count_if(
        packed, [](char byte) { return (static_cast<unsigned char>(byte) & 0x80) == 0; }));
}

// The product of two sizes, at most the largest number.
uint64_t times(uint64_t a, uint64_t b) {
    constexpr uint64_t most = std::numeric_limits<uint64_t>::max();
    return b != 0 && a > most / b ? most : a * b;
}

// Packed and single numbers of a field.
uint64_t numbersIn(const ProtoField& field, uint64_t bytesOfOne) {
    return field.wireType == ProtoMessage::lengthDelimited ? field.bytes.size() / bytesOfOne : 1;
}
uint64_t varintsIn(const ProtoField& field) {
    return field.wireType == ProtoMessage::lengthDelimited ? varintsIn(field.bytes) : 1;
}

bool isWhole(std::span<const char> constant) {
    uint64_t wanted = 1, type = 0, held = 0, bytes = 0;
    ProtoMessage fields(constant);
    while (const auto field = fields.next())
        switch (field->number) {
        case field::tensorSize:
            if (field->wireType == ProtoMessage::varint) {
                wanted = times(wanted, field->value);
            } else {
                ProtoMessage sizes(field->bytes);
                while (const auto size = sizes.number())
                    wanted = times(wanted, *size);
            }
            break;
        case field::tensorType:
            type = field->value;
            break;
        case field::tensorBytes:
            bytes = field->bytes.size();
            break;
        case field::tensorFloats:
            held += numbersIn(*field, 4);
            break;
        case field::tensorDoubles:
            held += numbersIn(*field, 8);
            break;
        case field::tensorInts:
        case field::tensorLongs:
            held += varintsIn(*field);
            break;
        default:
            break;
        }
    const uint64_t size = bytesPerNumber(type);
    return size != 0 && (held != 0 ? held == wanted : times(wanted, size) == bytes);
}

// Also notes what the node makes.
bool hasItsInputs(std::span<const char> node, Names& known) {
    bool takesAny = false, isKnown = true, isConstant = false;
    ProtoMessage fields(node);
    while (const auto field = fields.next()) {
        const std::string_view text = textOf(field->bytes);
        if (field->number == field::nodeInput) {
            isKnown = isKnown && (known.contains(text) || (takesAny && text.empty()));
            takesAny = true;
        } else if (field->number == field::nodeOutput) {
            known.insert(text);
        } else if (field->number == field::nodeKind) {
            isConstant = text == "Constant";
        }
    }
    return isKnown && (takesAny || isConstant);
}

} // namespace

bool isCoherentNetwork(std::span<const char> onnx) {
    const auto graph = partOf(onnx, field::modelGraph);
    Names known;
    bool isCoherent = true;
    ProtoMessage constants(graph);
    while (const auto member = constants.next()) {
        if (member->number == field::graphConstant) {
            isCoherent = isCoherent && isWhole(member->bytes);
            known.insert(textOf(partOf(member->bytes, field::tensorName)));
        } else if (member->number == field::graphInput) {
            known.insert(textOf(partOf(member->bytes, field::inputName)));
        }
    }
    ProtoMessage nodes(graph);
    while (const auto member = nodes.next())
        if (member->number == field::graphNode)
            isCoherent = isCoherent && hasItsInputs(member->bytes, known);
    return isCoherent;
}

} // namespace lanternfly
