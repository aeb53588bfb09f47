#include "app/evaluate/HandLabels.h"

#include <algorithm>
#include <cmath>
#include <sstream>
#include <stdexcept>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "app/CommandError.h"
#include "base/FileBytes.h"
#include "document/BoundedJson.h"

namespace lanternfly {
namespace {

using Json = nlohmann::json;

constexpr size_t largestFileBytes = 512 << 20;
constexpr double mostPixels = 1e5;
constexpr double unsureDisagreement = 0.12;
constexpr double surelyLeft = 0.3, surelyRight = 0.7;

double number(const Json& value) {
    const double result = value.get<double>();
    if (!(std::abs(result) <= mostPixels)) throw std::runtime_error("a number is out of range");
    return result;
}

LabelledHand handFrom(const Json& object) {
    LabelledHand hand;
    const Json& landmarks = object.at("landmarks");
    if (landmarks.size() != handJointCount)
        throw std::runtime_error("a hand does not have 21 landmarks");
    for (size_t i = 0; i < handJointCount; ++i) {
        const Json& landmark = landmarks.at(i);
        hand.confidences[i] =
            landmark.size() > 2 ? static_cast<float>(number(landmark.at(2))) : 1.0f;
        hand.joints[i] = {number(landmark.at(0)), number(landmark.at(1))};
    }
    if (object.contains("side")) {
        hand.isRight = object.at("side") == "right";
    } else {
        const double right = number(object.at("right"));
        if (right < surelyLeft || right > surelyRight) hand.isRight = right > 0.5;
    }
    hand.isSure = !object.contains("agree") || number(object.at("agree")) <= unsureDisagreement;
    return hand;
}

LabelledFace faceFrom(const Json& box) {
    return {.low = {number(box.at(0)), number(box.at(1))},
            .size = {number(box.at(2)), number(box.at(3))}};
}

std::vector<LabelledHand> handsFrom(const Json& objects) {
    std::vector<LabelledHand> hands;
    for (const Json& object : objects)
        hands.push_back(handFrom(object));
    return hands;
}

LabelledPicture truthFrom(const Json& object) {
    LabelledPicture picture{.hands = handsFrom(object.at("hands")), .faces = std::nullopt};
    if (object.contains("face")) {
        picture.faces.emplace();
        if (!object.at("face").empty()) picture.faces->push_back(faceFrom(object.at("face")));
    }
    return picture;
}

LabelledPhoto photoFrom(const std::string& name, const Json& object) {
    if (name.empty() || std::filesystem::path(name).filename() != name)
        throw std::runtime_error(fmt::format("\"{}\" is no file's name", name));
    LabelledPhoto photo{.file = name,
                        .source = object.value("source", ""),
                        .picture = {.hands = handsFrom(object.at("hands")), .faces = {}}};
    if (object.contains("faces")) {
        photo.picture.faces.emplace();
        for (const Json& box : object.at("faces"))
            photo.picture.faces->push_back(faceFrom(box));
    }
    return photo;
}

// Runs `read` on the file's text and says which file what it throws is about.
template <typename Read>
auto reading(const std::filesystem::path& file, Read&& read) {
    std::string text;
    if (const std::error_code error = readFile(file, largestFileBytes, text))
        throw CommandError(fmt::format("cannot read {}: {}", file.string(), error.message()));
    try {
        return read(text);
    } catch (const std::exception& error) {
        throw CommandError(fmt::format("{} does not hold labels of hands: {}; see lanternfly "
                                       "evaluate-hands --help for the format",
                                       file.string(), error.what()));
    }
}

} // namespace

std::vector<LabelledPhoto> readPhotoLabels(const std::filesystem::path& file) {
    return reading(file, [](const std::string& text) {
        std::vector<LabelledPhoto> photos;
        const Json labels = parseBounded(text);
        for (const auto& [name, object] : labels.at("images").items())
            photos.push_back(photoFrom(name, object));
        return photos;
    });
}

std::vector<LabelledPicture> readClipLabels(const std::filesystem::path& file) {
    return reading(file, [&](const std::string& text) {
        std::vector<LabelledPicture> pictures;
        if (file.extension() == ".jsonl") {
            std::istringstream lines(text);
            for (std::string line; std::getline(lines, line);)
                pictures.push_back(truthFrom(parseBounded(line)));
        } else {
            const Json labels = parseBounded(text);
            for (const Json& frame : labels.at("frames"))
                pictures.push_back({.hands = handsFrom(frame), .faces = std::nullopt});
        }
        return pictures;
    });
}

double boxSide(const JointPixels& joints) {
    double2 low = joints[0], high = joints[0];
    for (const double2& p : joints) {
        low = glm::min(low, p);
        high = glm::max(high, p);
    }
    return std::max(high.x - low.x, high.y - low.y);
}

double pinchRatio(const JointPixels& joints) {
    const auto at = [&](HandJoint joint) { return joints[static_cast<size_t>(joint)]; };
    return glm::distance(at(HandJoint::thumbTip), at(HandJoint::indexTip)) /
           (glm::distance(at(HandJoint::wrist), at(HandJoint::middleMCP)) + 1e-6);
}

} // namespace lanternfly
