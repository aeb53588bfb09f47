#include "support/hands/HandTruth.h"

#include <fstream>
#include <stdexcept>
#include <string>

#include <nlohmann/json.hpp>

namespace lanternfly {
namespace {

TrueHand handFrom(const nlohmann::json& object) {
    TrueHand hand;
    const auto& landmarks = object.at("landmarks");
    for (size_t i = 0; i < handJointCount; ++i)
        hand.joints[i] = {landmarks.at(i).at(0).get<double>(), landmarks.at(i).at(1).get<double>()};
    if (object.contains("side")) {
        hand.isRight = object.at("side") == "right";
    } else {
        const double right = object.at("right").get<double>();
        if (right < 0.3 || right > 0.7) hand.isRight = right > 0.5;
    }
    return hand;
}

std::vector<TrueHand> handsFrom(const nlohmann::json& objects) {
    std::vector<TrueHand> hands;
    for (const auto& object : objects)
        hands.push_back(handFrom(object));
    return hands;
}

} // namespace

HandTruth readHandTruth(const std::filesystem::path& file) {
    std::ifstream stream(file);
    if (!stream) throw std::runtime_error("cannot open " + file.string());
    HandTruth truth;
    if (file.extension() == ".jsonl") {
        for (std::string line; std::getline(stream, line);)
            truth.push_back(handsFrom(nlohmann::json::parse(line).at("hands")));
    } else {
        const auto labels = nlohmann::json::parse(stream);
        for (const auto& frame : labels.at("frames"))
            truth.push_back(handsFrom(frame));
    }
    return truth;
}

double pinchRatio(const std::array<double2, handJointCount>& joints) {
    const auto at = [&](HandJoint joint) { return joints[static_cast<size_t>(joint)]; };
    return glm::distance(at(HandJoint::thumbTip), at(HandJoint::indexTip)) /
           (glm::distance(at(HandJoint::wrist), at(HandJoint::middleMCP)) + 1e-6);
}

} // namespace lanternfly
