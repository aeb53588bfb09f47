#include "platform/linux/vision/HandNetworks.h"

#include <cassert>
#include <cmath>

#include <fmt/ranges.h>
#include <opencv2/imgproc.hpp>

#include "platform/linux/vision/DetectorNetwork.h"
#include "platform/linux/vision/HeatmapDecoder.h"
#include "platform/linux/vision/Network.h"

namespace lanternfly {
namespace {

constexpr double faceThreshold = 0.4;

double sigmoid(float logit) {
    return 1 / (1 + std::exp(-static_cast<double>(logit)));
}

// The side of the landmark network's maps. Throws when the network is not one.
int mapSideOf(const Network& landmarks) {
    const int2 input = landmarks.inputSizePX();
    if (input.x != input.y)
        throw landmarks.unusable(
            fmt::format("its input is {} × {}, expected a square", input.x, input.y));
    const auto maps = landmarks.shape(0);
    if (maps.size() != 3 || maps[0] != static_cast<int>(handJointCount) || maps[1] != maps[2] ||
        maps[1] > HeatmapDecoder::largestMapSide)
        throw landmarks.unusable(fmt::format(
            "its output \"heatmaps\" is 1 × {}, expected 1 × {} squares of at most {} cells a side",
            fmt::join(maps, " × "), handJointCount, HeatmapDecoder::largestMapSide));
    const auto classes = landmarks.shape(1);
    if (classes.size() != 1 || classes[0] != 2)
        throw landmarks.unusable(
            fmt::format("its output \"cls\" is 1 × {}, expected 1 × 2", fmt::join(classes, " × ")));
    return maps[1];
}

} // namespace

struct HandNetworks::State {
    explicit State(const HandModel& model)
        : detector(model.detector), landmarks(model.landmarks, {"heatmaps", "cls"}),
          decoder(mapSideOf(landmarks), model.joints), cropSidePX(landmarks.inputSizePX().x) {}

    // Joints measured in parts of the crop; the crop's pixel centres are integers.
    double2 toCropPart(const CropTransform& transform, double2 picturePX) const {
        return (transform.toCrop(picturePX) + 0.5) / static_cast<double>(cropSidePX);
    }
    double2 toPicture(const CropTransform& transform, double2 cropPart) const {
        return transform.toPicture(cropPart * static_cast<double>(cropSidePX) - 0.5);
    }

    DetectorNetwork detector;
    Network landmarks;
    HeatmapDecoder decoder;
    int cropSidePX;
    HeatmapDecoder::Joints decoded;
    HeatmapDecoder::Expectation expectation;
    const PixelBuffer* picture = nullptr;
};

HandNetworks::HandNetworks(const HandModel& model) : _state(std::make_unique<State>(model)) {}

HandNetworks::~HandNetworks() = default;

void HandNetworks::setPicture(const PixelBuffer& picture) {
    assert(picture.format() == PixelFormat::bgra8);
    _state->picture = &picture;
}

int HandNetworks::widthPX() const {
    return _state->picture->width();
}

int HandNetworks::heightPX() const {
    return _state->picture->height();
}

Sighting HandNetworks::search(double handThreshold) {
    _state->detector.look(*_state->picture);
    return {.hands = _state->detector.hands(handThreshold),
            .faces = _state->detector.faces(faceThreshold)};
}

HandReading HandNetworks::read(const HandCrop& crop, const JointPrior* prior) {
    State& state = *_state;
    const PixelBuffer& picture = *state.picture;
    const CropTransform transform(crop, state.cropSidePX);
    const cv::Matx23d matrix(transform.rows().data());
    // The source is only read.
    const cv::Mat source(picture.height(), picture.width(), CV_8UC4,
                         const_cast<uint8_t*>(picture.data()), picture.strideBytes());
    cv::warpAffine(source, state.landmarks.picture(), matrix, {state.cropSidePX, state.cropSidePX},
                   cv::INTER_LINEAR | cv::WARP_INVERSE_MAP, cv::BORDER_REPLICATE);
    state.landmarks.run();

    if (prior)
        for (size_t i = 0; i < handJointCount; ++i)
            state.expectation[i] = {.position = state.toCropPart(transform, prior->joints[i]),
                                    .weight = prior->weights[i]};
    state.decoder.decode(state.landmarks.output(0), prior ? &state.expectation : nullptr,
                         state.decoded);

    const std::span<const float> classes = state.landmarks.output(1);
    HandReading reading{.presence = sigmoid(classes[0]), .rightProbability = sigmoid(classes[1])};
    for (size_t i = 0; i < handJointCount; ++i) {
        reading.joints[i] = state.toPicture(transform, state.decoded[i].position);
        reading.confidences[i] = state.decoded[i].confidence;
    }
    return reading;
}

} // namespace lanternfly
