#include "platform/linux/vision/OpenCvHandPoseDetector.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include <libyuv/scale_argb.h>

namespace lanternfly {
namespace {

// How far outside the picture, in parts of it, a joint may lie to be reported on the edge.
constexpr double reportedMargin = 0.05;

std::optional<HandObservation::Point> pointAt(double2 pixel, float confidence, double2 size) {
    // Pixel centres are integers and y runs down; the port's picture is 0…1 with y up.
    const double x = (pixel.x + 0.5) / size.x;
    const double y = 1 - (pixel.y + 0.5) / size.y;
    const auto isReported = [](double v) {
        return v >= -reportedMargin && v <= 1 + reportedMargin;
    };
    if (!isReported(x) || !isReported(y)) return std::nullopt;
    return HandObservation::Point{.x = static_cast<float>(std::clamp(x, 0.0, 1.0)),
                                  .y = static_cast<float>(std::clamp(y, 0.0, 1.0)),
                                  .confidence = std::clamp(confidence, 0.f, 1.f)};
}

HandObservation observation(const HandTrack& hand, double2 size) {
    HandObservation seen;
    seen.chirality = hand.chiralityVote() > 0 ? HandObservation::Chirality::right
                                              : HandObservation::Chirality::left;
    const HandReading& reading = hand.reading();
    for (size_t i = 0; i < handJointCount; ++i)
        seen.points[i] = pointAt(reading.joints[i], reading.confidences[i], size);
    return seen;
}

int scaled(int side, double scale) {
    return std::clamp(static_cast<int>(std::lround(side * scale)), 1,
                      OpenCvHandPoseDetector::workingLongSidePX);
}

} // namespace

OpenCvHandPoseDetector::OpenCvHandPoseDetector(std::filesystem::path modelFolder)
    : _modelFolder(std::move(modelFolder)) {}

void OpenCvHandPoseDetector::load() {
    if (_loadError) throw HandPoseError(*_loadError);
    if (_networks) return;
    try {
        _networks = std::make_unique<HandNetworks>(HandModel::read(_modelFolder));
    } catch (const HandPoseError& error) {
        _loadError.emplace(error);
        throw;
    }
}

void OpenCvHandPoseDetector::detect(const PixelBuffer& picture,
                                    std::vector<HandObservation>& hands) {
    hands.clear();
    load();
    if (picture.format() != PixelFormat::bgra8)
        throw HandPoseError(HandPoseError::Kind::detectionFailed,
                            "Hands are looked for in BGRA pictures only.");
    if (picture.width() != _sourceWidthPX || picture.height() != _sourceHeightPX) {
        // Another camera or format: nothing that was tracked has a place in its picture.
        _sourceWidthPX = picture.width();
        _sourceHeightPX = picture.height();
        _tracker.reset();
        _scaled.reset();
    }
    const PixelBuffer& working = scaledToWorkingSize(picture);
    _networks->setPicture(working);
    _tracker.follow(*_networks);
    for (const HandTrack& hand : _tracker.hands())
        if (_tracker.isConfirmed(hand))
            hands.push_back(observation(hand, {working.width(), working.height()}));
}

const PixelBuffer& OpenCvHandPoseDetector::scaledToWorkingSize(const PixelBuffer& picture) {
    const int longSide = std::max(picture.width(), picture.height());
    if (longSide == workingLongSidePX) return picture;
    if (!_scaled) {
        const double scale = workingLongSidePX / static_cast<double>(longSide);
        _scaled =
            PixelBuffer::create(scaled(picture.width(), scale), scaled(picture.height(), scale));
        if (!_scaled)
            throw HandPoseError(HandPoseError::Kind::detectionFailed,
                                "There is no memory for a picture to look for hands in.");
    }
    libyuv::ARGBScale(picture.data(), static_cast<int>(picture.strideBytes()), picture.width(),
                      picture.height(), _scaled->data(), static_cast<int>(_scaled->strideBytes()),
                      _scaled->width(), _scaled->height(), libyuv::kFilterBox);
    return *_scaled;
}

} // namespace lanternfly
