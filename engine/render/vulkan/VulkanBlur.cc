#include "render/vulkan/VulkanBlur.h"

#include <algorithm>

#include "render/BlurReduction.h"

namespace lanternfly {

namespace {

constexpr float minSigma = 0.3f;
constexpr int sizeStep = 64; // images grow in steps, so that an animated blur seldom remakes them

int floorDivided(int a, int b) {
    return a >= 0 ? a / b : -((b - 1 - a) / b);
}
int roundedUp(int value) {
    return (value + sizeStep - 1) / sizeStep * sizeStep;
}

// The cells around the centres of pixels a … b - 1, and one more on each side against rounding.
void cellRange(int a, int b, int reduction, int& first, int& end) {
    first = floorDivided(a - reduction / 2, reduction) - 1;
    end = floorDivided(b - 1 - reduction / 2, reduction) + 3;
}

} // namespace

void VulkanBlur::encode(FrameEncoder& encoder, VkDescriptorSet source, int2 sourceSize,
                        const PixelRect& rect, float2 sigma) {
    sigma = glm::max(sigma, minSigma);
    const int reduction = blurReductionFor(std::min(sigma.x, sigma.y));
    const float2 cellSigma(reducedBlurSigma(sigma.x, reduction),
                           reducedBlurSigma(sigma.y, reduction));
    const int radiusX = blurRadiusFor(cellSigma.x);
    const int radiusY = blurRadiusFor(cellSigma.y);
    PixelRect cells;
    cellRange(rect.x0, rect.x1, reduction, cells.x0, cells.x1);
    cellRange(rect.y0, rect.y1, reduction, cells.y0, cells.y1);
    const PixelRect wide{0, 0, cells.width() + 2 * radiusX, cells.height() + 2 * radiusY};
    makeImages(wide.width(), wide.height(), cells.height());

    const Pipelines& pipelines = encoder.pipelines();
    PushedUniforms uniforms;
    uniforms.params = {reduction, cells.x0 - radiusX, cells.y0 - radiusY, 0};
    uniforms.params2 = {sourceSize, 0, 0};
    _cells.discard();
    encoder.beginPass(_cells, wide, FrameEncoder::Start::undefined, _label);
    encoder.draw(pipelines.reduce, fullQuad(), uniforms, wide, source);
    encoder.endPass();

    _cells.use(encoder.commands(), ImageUse::sampled);
    uniforms.params = {cellSigma.y, radiusY, 0, 1};
    uniforms.params2 = {0, radiusY, 0, 0};
    const PixelRect vertical{0, 0, wide.width(), cells.height()};
    _vertical.discard();
    encoder.beginPass(_vertical, vertical, FrameEncoder::Start::undefined, _label);
    encoder.draw(pipelines.gauss, fullQuad(), uniforms, vertical, _cells.pictureSet());
    encoder.endPass();

    _vertical.use(encoder.commands(), ImageUse::sampled);
    uniforms.params = {cellSigma.x, radiusX, 1, 0};
    uniforms.params2 = {radiusX, 0, 0, 0};
    const PixelRect blurred{0, 0, cells.width(), cells.height()};
    encoder.beginPass(_cells, blurred, FrameEncoder::Start::undefined, _label);
    encoder.draw(pipelines.gauss, fullQuad(), uniforms, blurred, _vertical.pictureSet());
    encoder.endPass();
    _cells.use(encoder.commands(), ImageUse::sampled);

    const float2 size(_cells.width(), _cells.height());
    const float2 scale = 1.f / (static_cast<float>(reduction) * size);
    _pixelToPicture = {scale, -float2(cells.x0, cells.y0) / size};
}

void VulkanBlur::makeImages(int width, int height, int verticalHeight) {
    constexpr VkImageUsageFlags usage =
        VK_IMAGE_USAGE_SAMPLED_BIT | VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT;
    const auto grow = [&](VulkanImage& image, int neededHeight) {
        if (image.isAtLeast(width, neededHeight)) return;
        image = VulkanImage(_context, roundedUp(std::max(width, image.width())),
                            roundedUp(std::max(neededHeight, image.height())), blurFormat, usage,
                            _label);
    };
    grow(_cells, height);
    grow(_vertical, verticalHeight);
}

} // namespace lanternfly
