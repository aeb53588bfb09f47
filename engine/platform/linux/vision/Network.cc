#include "platform/linux/vision/Network.h"

#include <algorithm>
#include <cmath>
#include <fstream>

#include <fmt/format.h>
#include <opencv2/core/utils/logger.hpp>

#include "platform/HandPoseDetector.h"

namespace lanternfly {
namespace {

constexpr std::streamoff largestFileBytes = 64 << 20;

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

Network::Network(const std::filesystem::path& file, int widthPX, int heightPX,
                 std::vector<NetworkOutput> outputs)
    : _outputs(std::move(outputs)), _picture(heightPX, widthPX, CV_8UC4, cv::Scalar::all(0)) {
    // The networks run beside the compositor and the camera on few cores: a second thread would be
    // taken from them, and one thread adds in one order, so that equal pictures give equal bits.
    cv::setNumThreads(1);

    for (const NetworkOutput& output : _outputs)
        _names.push_back(output.name);
    const std::array<int, 4> shape{1, 3, heightPX, widthPX};
    _input.create(static_cast<int>(shape.size()), shape.data(), CV_32F);
    for (int channel = 0; channel < 3; ++channel)
        _planes.emplace_back(heightPX, widthPX, CV_32F, _input.ptr<float>(0, channel));
    load(file);
}

void Network::load(const std::filesystem::path& file) {
    const std::vector<char> bytes = bytesOf(file);
    const QuietOpenCv quiet;
    try {
        _net = cv::dnn::readNetFromONNX(bytes.data(), bytes.size());
        forward();
    } catch (const std::exception&) {
        throw unreadable(file, "it is damaged or no network that this program can run");
    }
    if (!hasExpectedOutputs()) throw unreadable(file, "it is another network than expected");
}

bool Network::hasExpectedOutputs() const {
    for (size_t i = 0; i < _outputs.size(); ++i) {
        const cv::Mat& result = _results[i];
        if (result.type() != CV_32F || result.total() != _outputs[i].valueCount ||
            !result.isContinuous())
            return false;
        const auto values = output(i);
        if (!std::all_of(values.begin(), values.end(), [](float v) { return std::isfinite(v); }))
            return false;
    }
    return true;
}

void Network::forward() {
    cv::split(_picture, _channels);
    for (size_t channel = 0; channel < 3; ++channel)
        _channels[2 - channel].convertTo(_planes[channel], CV_32F, 1 / 127.5, -1);
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
    return {_results[index].ptr<float>(), _outputs[index].valueCount};
}

} // namespace lanternfly
