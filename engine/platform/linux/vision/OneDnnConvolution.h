// One convolution of an OpenCV network, computed by oneDNN.
// Threads: bound. Uses one thread, so that equal inputs give equal bits.
#pragma once

#include <unordered_map>

#include <oneapi/dnnl/dnnl.hpp>
#include <opencv2/dnn/all_layers.hpp>

namespace lanternfly {

class OneDnnConvolution final : public cv::dnn::Layer {
public:
    // Whether this class can stand in for OpenCV's layer.
    static bool canRun(const cv::dnn::BaseConvolutionLayer& layer);
    // OpenCV's layer says what shapes come out; what it computes is never asked for.
    explicit OneDnnConvolution(const cv::Ptr<cv::dnn::BaseConvolutionLayer>& layer);

    bool getMemoryShapes(const std::vector<cv::dnn::MatShape>& inputs, int requiredOutputs,
                         std::vector<cv::dnn::MatShape>& outputs,
                         std::vector<cv::dnn::MatShape>& internals) const override;
    // Takes a scale and an offset of each channel, such as a normalisation, into the weights.
    bool tryFuse(cv::Ptr<cv::dnn::Layer>& next) override;
    // Takes a ReLU, and takes it back when `activation` is empty.
    bool setActivation(const cv::Ptr<cv::dnn::ActivationLayer>& activation) override;
    void finalize(cv::InputArrayOfArrays inputs, cv::OutputArrayOfArrays outputs) override;
    // Throws cv::Exception.
    void forward(cv::InputArrayOfArrays inputs, cv::OutputArrayOfArrays outputs,
                 cv::OutputArrayOfArrays internals) override;

private:
    // Between the order of OpenCV's numbers and that which the convolution likes best.
    struct Port {
        dnnl::memory plain, own;
        dnnl::reorder reorder;
        bool isReordered = false;
    };

    void build(const cv::Mat& input, const cv::Mat& output);

    cv::Ptr<cv::dnn::BaseConvolutionLayer> _layer;
    cv::Mat _weights, _biases; // with what was taken into them: outputs × …, 1 × outputs
    bool _hasReLU = false;
    bool _isBuilt = false;
    dnnl::engine _engine{dnnl::engine::kind::cpu, 0};
    dnnl::stream _stream{_engine};
    Port _input, _output;
    dnnl::convolution_forward _convolution;
    std::unordered_map<int, dnnl::memory> _arguments;
};

} // namespace lanternfly
