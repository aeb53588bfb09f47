#include "platform/linux/vision/HandNetworks.h"

#include <cassert>
#include <cmath>

#include <libyuv/scale_argb.h>
#include <opencv2/imgproc.hpp>

#include "platform/linux/vision/HeatmapDecoder.h"
#include "platform/linux/vision/Network.h"

namespace lanternfly {
namespace {

constexpr int cropSidePX = 160;

double sigmoid(float logit) {
    return 1 / (1 + std::exp(-static_cast<double>(logit)));
}

// Joints measured in parts of the crop; the crop's pixel centres are integers.
double2 toCropPart(const CropTransform& transform, double2 picturePX) {
    return (transform.toCrop(picturePX) + 0.5) / static_cast<double>(cropSidePX);
}

double2 toPicture(const CropTransform& transform, double2 cropPart) {
    return transform.toPicture(cropPart * static_cast<double>(cropSidePX) - 0.5);
}

} // namespace

struct HandNetworks::State {
    explicit State(const std::filesystem::path& folder)
        : detector(folder / detectorFile, Letterbox::inputWidthPX, Letterbox::inputHeightPX,
                   {{"grid", HandGrid::valueCount}}),
          landmarks(folder / landmarksFile, cropSidePX, cropSidePX,
                    {{"heatmaps", HeatmapDecoder::logitCount}, {"cls", 2}}) {}

    Network detector;
    Network landmarks;
    HeatmapDecoder decoder;
    HeatmapDecoder::Joints decoded;
    HeatmapDecoder::Expectation expectation;
    const PixelBuffer* picture = nullptr;
    Letterbox letterbox;
};

HandNetworks::HandNetworks(const std::filesystem::path& folder)
    : _state(std::make_unique<State>(folder)) {}

HandNetworks::~HandNetworks() = default;

void HandNetworks::setPicture(const PixelBuffer& picture) {
    assert(picture.format() == PixelFormat::bgra8);
    _state->picture = &picture;
    const Letterbox letterbox = Letterbox::fitting(picture.width(), picture.height());
    if (letterbox == _state->letterbox) return;
    _state->letterbox = letterbox;
    _state->detector.picture().setTo(cv::Scalar::all(0));
}

int HandNetworks::widthPX() const {
    return _state->picture->width();
}

int HandNetworks::heightPX() const {
    return _state->picture->height();
}

HandCandidates HandNetworks::findHands(double threshold) {
    const PixelBuffer& picture = *_state->picture;
    const Letterbox& box = _state->letterbox;
    cv::Mat& input = _state->detector.picture();
    libyuv::ARGBScale(picture.data(), static_cast<int>(picture.strideBytes()), picture.width(),
                      picture.height(), input.ptr(box.top, box.left), static_cast<int>(input.step),
                      box.widthPX, box.heightPX, libyuv::kFilterBox);
    _state->detector.run();
    return decodeHands(_state->detector.output(0), box, threshold);
}

HandReading HandNetworks::read(const HandCrop& crop, const JointPrior* prior) {
    const PixelBuffer& picture = *_state->picture;
    const CropTransform transform(crop, cropSidePX);
    const cv::Matx23d matrix(transform.rows().data());
    // The source is only read.
    const cv::Mat source(picture.height(), picture.width(), CV_8UC4,
                         const_cast<uint8_t*>(picture.data()), picture.strideBytes());
    cv::warpAffine(source, _state->landmarks.picture(), matrix, {cropSidePX, cropSidePX},
                   cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_REPLICATE);
    _state->landmarks.run();

    if (prior)
        for (size_t i = 0; i < handJointCount; ++i)
            _state->expectation[i] = {.position = toCropPart(transform, prior->joints[i]),
                                      .weight = prior->weights[i]};
    _state->decoder.decode(_state->landmarks.output(0), prior ? &_state->expectation : nullptr,
                           _state->decoded);

    const std::span<const float> classes = _state->landmarks.output(1);
    HandReading reading{.presence = sigmoid(classes[0]), .rightProbability = sigmoid(classes[1])};
    for (size_t i = 0; i < handJointCount; ++i) {
        reading.joints[i] = toPicture(transform, _state->decoded[i].position);
        reading.confidences[i] = _state->decoded[i].confidence;
    }
    return reading;
}

} // namespace lanternfly
