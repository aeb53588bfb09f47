// One ONNX network of fixed shape on OpenCV's dnn, fed with BGRA pictures.
// Threads: bound. OpenCV's own thread pool is set to one thread for the process; see Network.cc.
#pragma once

#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include <opencv2/dnn.hpp>

namespace lanternfly {

struct NetworkOutput {
    std::string name;
    size_t valueCount = 0;
};

class Network {
public:
    // Reads the file, runs the network once on a black picture and checks its outputs.
    // Throws HandPoseError(modelUnreadable) with a sentence that names the file.
    Network(const std::filesystem::path& file, int widthPX, int heightPX,
            std::vector<NetworkOutput> outputs);

    // The pixels that the next run() looks at: BGRA, widthPX × heightPX, black at first.
    cv::Mat& picture() { return _picture; }
    // Looks at the picture's colours, as RGB in −1…1. Throws HandPoseError(detectionFailed).
    void run();
    // The values of the given output, in the order of the constructor; valid until the next run().
    std::span<const float> output(size_t index) const;

private:
    void load(const std::filesystem::path& file);
    void forward();
    bool hasExpectedOutputs() const;

    cv::dnn::Net _net;
    std::vector<NetworkOutput> _outputs;
    std::vector<cv::String> _names;
    cv::Mat _picture;
    std::vector<cv::Mat> _channels; // B, G, R, A of the picture
    cv::Mat _input;                 // 1 × 3 × height × width
    std::vector<cv::Mat> _planes;   // views of _input: R, G, B
    std::vector<cv::Mat> _results;
};

} // namespace lanternfly
