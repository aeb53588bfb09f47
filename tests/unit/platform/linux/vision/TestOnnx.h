// Small networks as bytes of an ONNX file.
// Threads: safe.
#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>

namespace lanternfly {

// A message field that holds bytes; all are shorter than 128.
inline std::string field(int number, const std::string& bytes) {
    return std::string{static_cast<char>(number << 3 | 2), static_cast<char>(bytes.size())} + bytes;
}

inline std::string varint(uint64_t value) {
    std::string bytes;
    for (; value >= 128; value >>= 7)
        bytes += static_cast<char>(value | 128);
    return bytes + static_cast<char>(value);
}

// An input of the graph with these sizes.
inline std::string input(std::initializer_list<uint64_t> sizes) {
    std::string dimensions;
    for (const uint64_t size : sizes)
        dimensions += field(1, '\x08' + varint(size));
    return field(11,
                 field(1, "input") + field(2, field(1, '\x08' + varint(1) + field(2, dimensions))));
}

inline std::string model(const std::string& graph) {
    return '\x08' + varint(7) + field(2, "producer") + field(7, graph);
}

// A constant of the graph: its sizes, its type and its bytes.
inline std::string constant(const std::string& name, std::initializer_list<uint64_t> sizes,
                            uint64_t type, const std::string& bytes) {
    std::string tensor;
    for (const uint64_t size : sizes)
        tensor += '\x08' + varint(size);
    return field(5, tensor + '\x10' + varint(type) + field(8, name) + field(9, bytes));
}

inline std::string node(const std::string& kind, std::initializer_list<std::string> inputs,
                        const std::string& output) {
    std::string members;
    for (const std::string& name : inputs)
        members += field(1, name);
    return field(1, members + field(2, output) + field(4, kind));
}

} // namespace lanternfly
