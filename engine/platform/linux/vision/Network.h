// One ONNX network of fixed shape on OpenCV's dnn, fed with BGRA pictures.
// Threads: bound. OpenCV's own thread pool is set to one thread for the process; see Network.cc.
#pragma once

#include <array>
#include <span>
#include <string>
#include <vector>

#include <opencv2/dnn.hpp>

#include "platform/linux/vision/HandModel.h"

namespace lanternfly {

class Network {
public:
    // Reads the file, runs the network once on a black picture and checks that it has these
    // outputs, that each is 1 × … and that all their numbers are finite.
    // Throws HandPoseError(modelUnreadable) with a sentence that names the file.
    Network(const NetworkDescription& description, const std::vector<std::string>& outputs);

    int2 inputSizePX() const { return {_picture.cols, _picture.rows}; }
    // Sizes of an output after the leading 1: channels, rows, columns for instance.
    std::span<const int> shape(size_t output) const;
    // For an owner that finds the shapes to be others than it can use.
    HandPoseError unusable(const std::string& reason) const;

    // The pixels that the next run() looks at: BGRA, black at first.
    cv::Mat& picture() { return _picture; }
    // Looks at the picture's colours. Throws HandPoseError(detectionFailed).
    void run();
    // The values of the given output, in the order of the constructor; valid until the next run().
    std::span<const float> output(size_t index) const;

private:
    void load();
    void forward();
    bool hasFiniteOutputs() const;

    NetworkDescription _description;
    cv::dnn::Net _net;
    std::vector<cv::String> _names;
    cv::Mat _picture;
    std::vector<cv::Mat> _channels; // B, G, R, A of the picture
    cv::Mat _input;                 // 1 × 3 × height × width
    std::vector<cv::Mat> _planes;   // views of _input, in the network's order of colours
    std::vector<cv::Mat> _results;
};

} // namespace lanternfly
