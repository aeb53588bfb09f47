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

} // namespace

bool OneDnnConvolutions::areFaster() {
    constexpr auto avx2 = static_cast<unsigned>(dnnl::cpu_isa::avx2);
    return (static_cast<unsigned>(dnnl::get_effective_cpu_isa()) & avx2) == avx2;
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
