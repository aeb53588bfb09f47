#include "app/TypedTextLayer.h"

namespace lanternfly {

TextBox TypedTextLayer::boxIn(int frameWidth, int frameHeight) {
    return {frameWidth / 20, frameHeight / 8, frameWidth * 9 / 20, frameHeight * 31 / 40};
}

TextLook TypedTextLayer::lookIn(int frameHeight) {
    return {.fontSizePX = frameHeight / 22.0};
}

TypedTextLayer::TypedTextLayer(DeviceRef device, std::unique_ptr<TextPainter> painter,
                               int frameWidth, int frameHeight)
    : _device(std::move(device)), _painter(std::move(painter)),
      _box(boxIn(frameWidth, frameHeight)), _look(lookIn(frameHeight)),
      _picture(PixelBuffer::create(frameWidth, frameHeight)) {}

AnnotationInput TypedTextLayer::paint(const std::string& text) {
    if (text.empty() || !_picture) return {};
    _painter->paint(text, _box, _look, *_picture);
    return {.texture = _device->makeTexture(*_picture, {.label = "lanternfly.text"}),
            .originTopLeft = true};
}

} // namespace lanternfly
