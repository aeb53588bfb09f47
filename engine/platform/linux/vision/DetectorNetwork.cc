#include "platform/linux/vision/DetectorNetwork.h"

#include <cassert>

#include <fmt/ranges.h>
#include <libyuv/scale_argb.h>

namespace lanternfly {

DetectorNetwork::DetectorNetwork(const NetworkDescription& description)
    : _network(description, {"grid"}) {
    const auto shape = _network.shape(0);
    const int2 input = _network.inputSizePX();
    const bool isGrid = shape.size() == 3 && shape[0] == static_cast<int>(DetectorGrid::channels) &&
                        shape[1] > 0 && shape[2] > 0 && input.x % shape[2] == 0 &&
                        input.y % shape[1] == 0 && input.x / shape[2] == input.y / shape[1];
    if (!isGrid)
        throw _network.unusable(fmt::format("its output \"grid\" is 1 × {}, expected 1 × {} × "
                                            "rows × columns that divide its input evenly",
                                            fmt::join(shape, " × "), DetectorGrid::channels));
    _rows = shape[1];
    _columns = shape[2];
    _stridePX = input.x / _columns;
}

void DetectorNetwork::look(const PixelBuffer& picture) {
    assert(picture.format() == PixelFormat::bgra8);
    cv::Mat& input = _network.picture();
    const Letterbox box =
        Letterbox::fitting({picture.width(), picture.height()}, _network.inputSizePX());
    if (box != _letterbox) {
        _letterbox = box;
        input.setTo(cv::Scalar::all(0));
    }
    libyuv::ARGBScale(picture.data(), static_cast<int>(picture.strideBytes()), picture.width(),
                      picture.height(), input.ptr(box.top, box.left), static_cast<int>(input.step),
                      box.widthPX, box.heightPX, libyuv::kFilterBox);
    _network.run();
}

DetectorGrid DetectorNetwork::grid() const {
    return {
        .columns = _columns, .rows = _rows, .stridePX = _stridePX, .values = _network.output(0)};
}

HandCandidates DetectorNetwork::hands(double threshold) const {
    return decodeHands(grid(), _letterbox, threshold);
}

FaceCandidates DetectorNetwork::faces(double threshold) const {
    return decodeFaces(grid(), _letterbox, threshold);
}

} // namespace lanternfly
