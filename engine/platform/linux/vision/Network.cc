#include "platform/linux/vision/Network.h"

#include <algorithm>
#include <cmath>
#include <fstream>

#include <fmt/format.h>
#include <opencv2/core/utils/logger.hpp>

#include "platform/linux/vision/OneDnnConvolutions.h"
#include "platform/linux/vision/OnnxGraph.h"
#include "platform/linux/vision/OnnxInput.h"

namespace lanternfly {
namespace {

constexpr std::streamoff largestFileBytes = 64 << 20;
constexpr const char* damagedText = "it is damaged or no network that this program can run";
constexpr int leastSidePX = 16, mostSidePX = 1024;

HandPoseError unreadable(const std::filesystem::path& file, const std::string& reason) {
    return {HandPoseError::Kind::modelUnreadable,
            fmt::format("The hand model \"{}\" cannot be used: {}.", file.string(), reason)};
}

std::vector<char> bytesOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary | std::ios::ate);
    const std::streamoff size = stream ? static_cast<std::streamoff>(stream.tellg()) : -1;
    if (size < 0) throw unreadable(file, "the file cannot be opened");
    if (size == 0) throw unreadable(file, "the file is empty");
    if (size > largestFileBytes) throw unreadable(file, "the file is too large");
    std::vector<char> bytes(static_cast<size_t>(size));
    stream.seekg(0);
    if (!stream.read(bytes.data(), size)) throw unreadable(file, "the file cannot be read");
    return bytes;
}

// OpenCV describes what it dislikes at length on standard error; the exception says enough.
class QuietOpenCv {
public:
    QuietOpenCv() : _level(cv::utils::logging::setLogLevel(cv::utils::logging::LOG_LEVEL_SILENT)) {
        cv::redirectError([](int, const char*, const char*, const char*, int, void*) { return 0; });
    }
    ~QuietOpenCv() {
        cv::redirectError(nullptr);
        cv::utils::logging::setLogLevel(_level);
    }
    QuietOpenCv(const QuietOpenCv&) = delete;
    QuietOpenCv& operator=(const QuietOpenCv&) = delete;

private:
    cv::utils::logging::LogLevel _level;
};

} // namespace

Network::Network(const NetworkDescription& description, const std::vector<std::string>& outputs)
    : _description(description), _names(outputs.begin(), outputs.end()) {
    // The networks run beside the compositor and the camera on few cores: a second thread would be
    // taken from them, and one thread adds in one order, so that equal pictures give equal bits.
    cv::setNumThreads(1);
    load();
}

void Network::load() {
    const std::vector<char> bytes = bytesOf(_description.file);
    const auto own = pictureInputOf(bytes);
    const auto stated = _description.inputSizePX;
    if (own && stated && *own != *stated)
        throw unusable(fmt::format("its input is {} × {}, but {} says {} × {}", own->x, own->y,
                                   HandModel::descriptionFile, stated->x, stated->y));
    if (!own && !stated) throw unusable(damagedText);
    const int2 size = own ? *own : *stated;
    if (std::min(size.x, size.y) < leastSidePX || std::max(size.x, size.y) > mostSidePX)
        throw unusable(fmt::format("its input is {} × {}, expected sides of {} to {}", size.x,
                                   size.y, leastSidePX, mostSidePX));

    _picture.create(size.y, size.x, CV_8UC4);
    _picture.setTo(cv::Scalar::all(0));
    const std::array<int, 4> shape{1, 3, size.y, size.x};
    _input.create(static_cast<int>(shape.size()), shape.data(), CV_32F);
    for (int channel = 0; channel < 3; ++channel)
        _planes.emplace_back(size.y, size.x, CV_32F, _input.ptr<float>(0, channel));
    if (!isCoherentNetwork(bytes)) throw unusable(damagedText);
    const QuietOpenCv quiet;
    const OneDnnConvolutions faster;
    try {
        _net = cv::dnn::readNetFromONNX(bytes.data(), bytes.size());
        const auto names = _net.getUnconnectedOutLayersNames();
        for (const cv::String& name : _names)
            if (std::find(names.begin(), names.end(), name) == names.end())
                throw unusable(fmt::format("it has no output \"{}\"", name));
        forward();
    } catch (const HandPoseError&) {
        throw;
    } catch (const std::exception&) {
        throw unusable(damagedText);
    }
    if (!hasFiniteOutputs()) throw unusable("its outputs are no numbers");
}

bool Network::hasFiniteOutputs() const {
    for (size_t i = 0; i < _results.size(); ++i) {
        const cv::Mat& result = _results[i];
        if (result.type() != CV_32F || result.dims < 2 || result.size[0] != 1 ||
            !result.isContinuous())
            return false;
        const auto values = output(i);
        if (!std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); }))
            return false;
    }
    return true;
}

HandPoseError Network::unusable(const std::string& reason) const {
    return unreadable(_description.file, reason);
}

std::span<const int> Network::shape(size_t output) const {
    const cv::Mat& result = _results[output];
    return {result.size.p + 1, static_cast<size_t>(result.dims - 1)};
}

void Network::forward() {
    cv::split(_picture, _channels);
    for (size_t channel = 0; channel < 3; ++channel) {
        const double scale = 1 / static_cast<double>(_description.deviation[channel]);
        _channels[_description.isRGB ? 2 - channel : channel].convertTo(
            _planes[channel], CV_32F, scale,
            -static_cast<double>(_description.mean[channel]) * scale);
    }
    _net.setInput(_input);
    _net.forward(_results, _names);
}

void Network::run() {
    try {
        forward();
    } catch (const cv::Exception& error) {
        throw HandPoseError(HandPoseError::Kind::detectionFailed,
                            fmt::format("A hand network failed: {}", error.what()));
    }
}

std::span<const float> Network::output(size_t index) const {
    return {_results[index].ptr<float>(), _results[index].total()};
}

} // namespace lanternfly
