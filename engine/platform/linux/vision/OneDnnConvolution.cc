#include "platform/linux/vision/OneDnnConvolution.h"

#include <algorithm>

// Of the OpenMP library that oneDNN uses; <omp.h> would be that of the compiler's own.
extern "C" {
int omp_get_max_threads();
void omp_set_num_threads(int count);
}

namespace lanternfly {
namespace {

using cv::dnn::MatShape;
using dnnl::memory;

constexpr auto float32 = memory::data_type::f32;

// A second thread would be taken from the compositor and the camera, which run beside.
class OneThread {
public:
    OneThread() : _before(omp_get_max_threads()) { omp_set_num_threads(1); }
    ~OneThread() { omp_set_num_threads(_before); }
    OneThread(const OneThread&) = delete;
    OneThread& operator=(const OneThread&) = delete;

private:
    int _before;
};

memory::dims dimsOf(const cv::Mat& values) {
    return {values.size.p, values.size.p + values.dims};
}

memory::dims dimsOf(const std::vector<size_t>& values) {
    return {values.begin(), values.end()};
}

// OpenCV counts the steps of a dilated kernel, oneDNN what lies between them.
memory::dims gapsOf(const std::vector<size_t>& dilations) {
    memory::dims gaps = dimsOf(dilations);
    for (auto& gap : gaps)
        --gap;
    return gaps;
}

template <typename Work>
void compute(Work&& work) {
    const OneThread oneThread;
    try {
        work();
    } catch (const dnnl::error& error) {
        CV_Error(cv::Error::StsError, error.what());
    }
}

} // namespace

bool OneDnnConvolution::canRun(const cv::dnn::BaseConvolutionLayer& layer) {
    const auto isPlain = [](const cv::Mat& blob) {
        return blob.type() == CV_32F && blob.isContinuous();
    };
    const auto& constants = layer.blobs; // weights, and biases where there are any
    return layer.kernel_size.size() == 2 && layer.padMode.empty() && !constants.empty() &&
           std::all_of(constants.begin(), constants.end(), isPlain) && constants[0].dims == 4 &&
           (constants.size() == 1 ||
            constants[1].total() == static_cast<size_t>(constants[0].size[0]));
}

OneDnnConvolution::OneDnnConvolution(const cv::Ptr<cv::dnn::BaseConvolutionLayer>& layer)
    : _layer(layer) {
    name = layer->name;
    type = layer->type;
}

bool OneDnnConvolution::getMemoryShapes(const std::vector<MatShape>& inputs, int requiredOutputs,
                                        std::vector<MatShape>& outputs,
                                        std::vector<MatShape>& internals) const {
    return _layer->getMemoryShapes(inputs, requiredOutputs, outputs, internals);
}

bool OneDnnConvolution::tryFuse(cv::Ptr<cv::dnn::Layer>& next) {
    cv::Mat scales, offsets;
    next->getScaleShift(scales, offsets);
    const auto channels = static_cast<size_t>(_weights.rows);
    const auto fits = [&](const cv::Mat& values) {
        return values.empty() || values.total() == 1 || values.total() == channels;
    };
    if ((scales.empty() && offsets.empty()) || !fits(scales) || !fits(offsets)) return false;
    // One number may stand for all channels.
    const auto of = [](const cv::Mat& values, int channel) {
        return values.total() == 1 ? values.at<float>(0) : values.at<float>(channel);
    };
    for (int channel = 0; channel < _weights.rows; ++channel) {
        float& bias = _biases.at<float>(channel);
        if (!scales.empty()) {
            const float scale = of(scales, channel);
            _weights.row(channel) *= scale;
            bias *= scale;
        }
        if (!offsets.empty()) bias += of(offsets, channel);
    }
    _isBuilt = false;
    return true;
}

bool OneDnnConvolution::setActivation(const cv::Ptr<cv::dnn::ActivationLayer>& activation) {
    const auto relu = activation.dynamicCast<cv::dnn::ReLULayer>();
    _hasReLU = relu && relu->negativeSlope == 0;
    _isBuilt = false;
    return _hasReLU;
}

void OneDnnConvolution::finalize(cv::InputArrayOfArrays, cv::OutputArrayOfArrays) {
    const auto& constants = _layer->blobs;
    _weights = constants[0].reshape(1, constants[0].size[0]).clone();
    _biases = cv::Mat::zeros(1, _weights.rows, CV_32F);
    if (constants.size() > 1) constants[1].reshape(1, 1).copyTo(_biases);
    // OpenCV says afterwards what else the convolution shall do.
    _isBuilt = false;
}

void OneDnnConvolution::build(const cv::Mat& input, const cv::Mat& output) {
    const auto port = [&](const cv::Mat& values, const memory::desc& own) {
        const memory::desc plain(dimsOf(values), float32, memory::format_tag::nchw);
        Port made{.plain = memory(plain, _engine, values.data), .own = {}, .reorder = {}};
        made.isReordered = own != plain;
        made.own = made.isReordered ? memory(own, _engine) : made.plain;
        return made;
    };
    const auto any = [](const cv::Mat& values) {
        return memory::desc(dimsOf(values), float32, memory::format_tag::any);
    };
    const cv::Mat& blob = _layer->blobs[0];
    const int groups = input.size[1] / blob.size[1];
    memory::dims shape = dimsOf(blob);
    if (groups > 1) {
        shape[0] /= groups;
        shape.insert(shape.begin(), groups);
    }
    const memory::desc bias({_weights.rows}, float32, memory::format_tag::x);
    dnnl::primitive_attr attributes;
    attributes.set_scratchpad_mode(dnnl::scratchpad_mode::user);
    if (_hasReLU) {
        dnnl::post_ops after;
        after.append_eltwise(1, dnnl::algorithm::eltwise_relu, 0, 0);
        attributes.set_post_ops(after);
    }
    const dnnl::convolution_forward::primitive_desc description(
        {dnnl::prop_kind::forward_inference, dnnl::algorithm::convolution_direct, any(input),
         memory::desc(shape, float32, memory::format_tag::any), bias, any(output),
         dimsOf(_layer->strides), gapsOf(_layer->dilations), dimsOf(_layer->pads_begin),
         dimsOf(_layer->pads_end)},
        attributes, _engine);

    _input = port(input, description.src_desc());
    if (_input.isReordered) _input.reorder = dnnl::reorder(_input.plain, _input.own);
    _output = port(output, description.dst_desc());
    if (_output.isReordered) _output.reorder = dnnl::reorder(_output.own, _output.plain);
    const auto order = groups > 1 ? memory::format_tag::goihw : memory::format_tag::oihw;
    memory plainWeights({shape, float32, order}, _engine, _weights.data);
    memory ownWeights(description.weights_desc(), _engine);
    dnnl::reorder(plainWeights, ownWeights).execute(_stream, plainWeights, ownWeights);
    _convolution = dnnl::convolution_forward(description);
    _arguments = {{DNNL_ARG_SRC, _input.own},
                  {DNNL_ARG_WEIGHTS, ownWeights},
                  {DNNL_ARG_BIAS, memory(bias, _engine, _biases.data)},
                  {DNNL_ARG_DST, _output.own},
                  {DNNL_ARG_SCRATCHPAD, memory(description.scratchpad_desc(), _engine)}};
    _isBuilt = true;
}

void OneDnnConvolution::forward(cv::InputArrayOfArrays inputs, cv::OutputArrayOfArrays outputs,
                                cv::OutputArrayOfArrays) {
    const cv::Mat input = inputs.getMat(0), output = outputs.getMat(0);
    compute([&] {
        if (!_isBuilt) build(input, output);
        // OpenCV may give other buffers than last time.
        _input.plain.set_data_handle(input.data);
        _output.plain.set_data_handle(output.data);
        if (_input.isReordered) _input.reorder.execute(_stream, _input.plain, _input.own);
        _convolution.execute(_stream, _arguments);
        if (_output.isReordered) _output.reorder.execute(_stream, _output.own, _output.plain);
        _stream.wait();
    });
}

} // namespace lanternfly
