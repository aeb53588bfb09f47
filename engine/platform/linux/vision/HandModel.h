// What a folder of hand networks holds: its description, hand_model.json.
// Threads: safe.
#pragma once

#include <array>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "base/Vectors.h"
#include "platform/HandPoseDetector.h"

namespace lanternfly {

// The joint that each of a network's maps shows.
using JointOrder = std::array<HandJoint, handJointCount>;

// That of HandJoint.
constexpr JointOrder usualJointOrder() {
    JointOrder order{};
    for (size_t i = 0; i < order.size(); ++i)
        order[i] = static_cast<HandJoint>(i);
    return order;
}

struct NetworkDescription {
    std::filesystem::path file;
    // What the description says about the input; without it the network's own word counts.
    std::optional<int2> inputSizePX{};
    // The network sees (value − mean) / deviation of 8-bit values, in this order of colours.
    std::array<float, 3> mean{127.5f, 127.5f, 127.5f};
    std::array<float, 3> deviation{127.5f, 127.5f, 127.5f};
    bool isRGB = true; // else BGR
};

struct HandModel {
    static constexpr const char* descriptionFile = "hand_model.json";
    static constexpr int version = 1;

    std::string name;
    NetworkDescription detector;
    NetworkDescription landmarks;
    JointOrder joints = usualJointOrder(); // of the landmark network's maps

    // Reads the folder's description; a folder without one is taken for hand_detector.onnx and
    // hand_landmarks.onnx as docs/hand-models.md describes them. Throws
    // HandPoseError(modelUnreadable) with a sentence that says what is missing or wrong.
    static HandModel read(const std::filesystem::path& folder);
    // The description's text alone. Throws std::runtime_error with the reason.
    static HandModel parse(std::string_view text, const std::filesystem::path& folder);
};

} // namespace lanternfly
