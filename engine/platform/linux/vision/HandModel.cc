#include "platform/linux/vision/HandModel.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "base/FileBytes.h"

namespace lanternfly {
namespace {

using Json = nlohmann::json;

constexpr size_t largestDescriptionBytes = 64 << 10;
constexpr int leastSidePX = 16, mostSidePX = 1024;
constexpr float mostPixelValue = 1e4f;

constexpr std::array<const char*, handJointCount> jointNames{
    "wrist",    "thumbCMC", "thumbMP",   "thumbIP",   "thumbTip",  "indexMCP",  "indexPIP",
    "indexDIP", "indexTip", "middleMCP", "middlePIP", "middleDIP", "middleTip", "ringMCP",
    "ringPIP",  "ringDIP",  "ringTip",   "littleMCP", "littlePIP", "littleDIP", "littleTip"};

template <typename... Arguments>
[[noreturn]] void refuse(fmt::format_string<Arguments...> text, Arguments&&... arguments) {
    throw std::runtime_error(fmt::format(text, std::forward<Arguments>(arguments)...));
}

const Json& member(const Json& object, const char* key, const std::string& where) {
    if (!object.is_object()) refuse("{} is no object", where);
    const auto found = object.find(key);
    if (found == object.end()) refuse("{} has no \"{}\"", where, key);
    return *found;
}

std::string textOf(const Json& object, const char* key, const std::string& where) {
    const Json& value = member(object, key, where);
    if (!value.is_string()) refuse("\"{}\" of {} is no text", key, where);
    return value.get<std::string>();
}

int sideOf(const Json& input, const char* key, const std::string& where) {
    const Json& value = member(input, key, where);
    if (!value.is_number_integer()) refuse("\"{}\" of {} is no whole number", key, where);
    const auto side = value.get<int64_t>();
    if (side < leastSidePX || side > mostSidePX)
        refuse("\"{}\" of {} is {}, expected {} to {}", key, where, side, leastSidePX, mostSidePX);
    return static_cast<int>(side);
}

std::array<float, 3> threeOf(const Json& input, const char* key, const std::string& where) {
    const Json& values = member(input, key, where);
    std::array<float, 3> numbers{};
    if (!values.is_array() || values.size() != numbers.size())
        refuse("\"{}\" of {} is no list of three numbers", key, where);
    for (size_t i = 0; i < numbers.size(); ++i) {
        if (!values[i].is_number()) refuse("\"{}\" of {} is no list of three numbers", key, where);
        numbers[i] = values[i].get<float>();
        if (!(std::abs(numbers[i]) <= mostPixelValue))
            refuse("\"{}\" of {} is out of range", key, where);
    }
    return numbers;
}

void readInput(const Json& input, const std::string& where, NetworkDescription& network) {
    if (!input.is_object()) refuse("{} is no object", where);
    if (input.contains("width") || input.contains("height"))
        network.inputSizePX = {sideOf(input, "width", where), sideOf(input, "height", where)};
    if (input.contains("colors")) {
        const std::string colors = textOf(input, "colors", where);
        if (colors != "rgb" && colors != "bgr")
            refuse("\"colors\" of {} is \"{}\", expected \"rgb\" or \"bgr\"", where, colors);
        network.isRGB = colors == "rgb";
    }
    if (input.contains("mean")) network.mean = threeOf(input, "mean", where);
    if (input.contains("deviation")) network.deviation = threeOf(input, "deviation", where);
    if (std::any_of(network.deviation.begin(), network.deviation.end(),
                    [](float value) { return value < 1e-3f; }))
        refuse("\"deviation\" of {} is not above 0", where);
}

NetworkDescription readNetwork(const Json& model, const char* key,
                               const std::filesystem::path& folder) {
    const std::string where = fmt::format("\"{}\"", key);
    const Json& object = member(model, key, "the description");
    const std::string file = textOf(object, "file", where);
    if (file.empty() || std::filesystem::path(file).filename() != file || file == "..")
        refuse("\"file\" of {} is \"{}\", expected the name of a file beside the description",
               where, file);
    NetworkDescription network{.file = folder / file};
    if (object.contains("input"))
        readInput(object.at("input"), fmt::format("\"input\" of {}", where), network);
    return network;
}

JointOrder readJoints(const Json& landmarks) {
    JointOrder joints = usualJointOrder();
    if (!landmarks.contains("joints")) return joints;
    const Json& names = landmarks.at("joints");
    if (!names.is_array() || names.size() != joints.size())
        refuse("\"joints\" of \"landmarks\" is no list of {} names", joints.size());
    std::array<bool, handJointCount> isNamed{};
    for (size_t i = 0; i < joints.size(); ++i) {
        const auto found = std::find(jointNames.begin(), jointNames.end(), names[i]);
        const auto joint = static_cast<size_t>(found - jointNames.begin());
        if (found == jointNames.end() || isNamed[joint])
            refuse("\"joints\" of \"landmarks\" has {} where a joint's name that comes once is "
                   "expected; the names are {}",
                   names[i].dump(), fmt::join(jointNames, ", "));
        isNamed[joint] = true;
        joints[i] = static_cast<HandJoint>(joint);
    }
    return joints;
}

HandModel ofFolderWithoutDescription(const std::filesystem::path& folder) {
    return {.name = folder.filename().string(),
            .detector = {.file = folder / "hand_detector.onnx"},
            .landmarks = {.file = folder / "hand_landmarks.onnx"}};
}

} // namespace

HandModel HandModel::parse(std::string_view text, const std::filesystem::path& folder) {
    const Json object = Json::parse(text.begin(), text.end(), nullptr, false);
    if (object.is_discarded()) refuse("it is no JSON");
    if (textOf(object, "format", "the description") != "lanternfly-hand-model")
        refuse("\"format\" is not \"lanternfly-hand-model\"");
    const Json& stated = member(object, "version", "the description");
    if (stated != version)
        refuse("its version is {}, this program reads version {}", stated.dump(), version);
    return {.name = textOf(object, "name", "the description"),
            .detector = readNetwork(object, "detector", folder),
            .landmarks = readNetwork(object, "landmarks", folder),
            .joints = readJoints(object.at("landmarks"))};
}

HandModel HandModel::read(const std::filesystem::path& folder) {
    const std::filesystem::path file = folder / descriptionFile;
    const auto unreadable = [](const std::filesystem::path& what, const std::string& reason) {
        return HandPoseError(
            HandPoseError::Kind::modelUnreadable,
            fmt::format("The hand model \"{}\" cannot be used: {}.", what.string(), reason));
    };
    std::error_code ignored;
    if (!std::filesystem::is_directory(folder, ignored))
        throw unreadable(folder, "there is no such folder");
    std::string text;
    const std::error_code error = readFile(file, largestDescriptionBytes, text);
    if (error == std::errc::no_such_file_or_directory) {
        HandModel model = ofFolderWithoutDescription(folder);
        for (const NetworkDescription* network : {&model.detector, &model.landmarks})
            if (!std::filesystem::exists(network->file, ignored))
                throw unreadable(folder, fmt::format("it holds neither {} nor {}", descriptionFile,
                                                     network->file.filename().string()));
        return model;
    }
    if (error) throw unreadable(file, error.message());
    try {
        return parse(text, folder);
    } catch (const std::exception& reason) {
        throw unreadable(file, reason.what());
    }
}

} // namespace lanternfly
