#include "platform/linux/vision/OneDnnConvolutions.h"

#include <mutex>

#include <opencv2/dnn/layer.hpp>

#include "platform/linux/vision/OneDnnConvolution.h"

namespace lanternfly {
namespace {

constexpr const char* layerType = "Convolution";

// OpenCV takes a maker of layers once only.
std::mutex countMutex;
int count = 0;

cv::Ptr<cv::dnn::Layer> convolution(cv::dnn::LayerParams& parameters) {
    const auto layer = cv::dnn::ConvolutionLayer::create(parameters);
    if (!OneDnnConvolution::canRun(*layer)) return layer;
    return cv::makePtr<OneDnnConvolution>(layer);
}

bool hasAvx2() {
    constexpr auto avx2 = static_cast<unsigned>(dnnl::cpu_isa::avx2);
    return (static_cast<unsigned>(dnnl::get_effective_cpu_isa()) & avx2) == avx2;
}

// oneDNN writes its code when the program runs, which a hardened system forbids.
bool mayMakeCode() {
    try {
        const dnnl::memory::desc values({1}, dnnl::memory::data_type::f32,
                                        dnnl::memory::format_tag::x);
        const dnnl::engine engine(dnnl::engine::kind::cpu, 0);
        const dnnl::eltwise_forward::primitive_desc relu(
            {dnnl::prop_kind::forward_inference, dnnl::algorithm::eltwise_relu, values, 0, 0},
            engine);
        const dnnl::eltwise_forward made(relu);
        return true;
    } catch (const dnnl::error&) {
        return false;
    }
}

} // namespace

bool OneDnnConvolutions::areFaster() {
    static const bool are = hasAvx2() && mayMakeCode();
    return are;
}

OneDnnConvolutions::OneDnnConvolutions() {
    if (!areFaster()) return;
    const std::lock_guard lock(countMutex);
    if (count++ == 0) cv::dnn::LayerFactory::registerLayer(layerType, convolution);
}

OneDnnConvolutions::~OneDnnConvolutions() {
    if (!areFaster()) return;
    const std::lock_guard lock(countMutex);
    if (--count == 0) cv::dnn::LayerFactory::unregisterLayer(layerType);
}

} // namespace lanternfly
