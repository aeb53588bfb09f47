#include "render/vulkan/FrameDrawer.h"

namespace lanternfly {

namespace {

constexpr VkImageUsageFlags targetUsage =
    VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT | VK_IMAGE_USAGE_SAMPLED_BIT |
    VK_IMAGE_USAGE_TRANSFER_SRC_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT;

PushedUniforms uniformsOf(const PanePlace& place) {
    PushedUniforms uniforms;
    uniforms.mvp = place.matrix;
    return uniforms;
}

PushedUniforms opaque() {
    PushedUniforms uniforms;
    uniforms.params.x = 1;
    return uniforms;
}

} // namespace

FrameDrawer::FrameDrawer(VulkanContextRef context, const CompiledShaders& shaders, FrameSize output)
    : _context(std::move(context)), _output(output),
      _cacheFile(*_context, PipelineCacheFile::pathFor(*_context)),
      _pipelines(*_context, shaders, _cacheFile.get()), _encoder(*_context, _pipelines),
      _recorder(_context, "lanternfly.composite"), _transfer(_context),
      _target(_context, output.width, output.height, pictureFormat, targetUsage,
              "lanternfly.output"),
      _backgroundBlur(_context, "lanternfly.camera.blurred"),
      _backdropBlur(_context, "lanternfly.camera.backdrop.blurred") {
    warmUp();
    _cacheFile.save();
}

void FrameDrawer::draw(const FramePlan& plan, const FrameRenderer::Picture& picture) {
    const PixelBuffer& camera = *picture.camera;
    _encoder.begin(_recorder.begin());
    placeCamera(plan.background, camera);
    encodeBlurs(plan, {static_cast<float>(_output.width) / static_cast<float>(camera.width()),
                       static_cast<float>(_output.height) / static_cast<float>(camera.height())});
    _encoder.beginPass(_target, wholeFrame(), FrameEncoder::Start::kept,
                       "lanternfly.composite.encoder");
    drawBackground(plan.background);
    if (plan.backdrop) drawBackdrop(*plan.backdrop);
    if (plan.pane && plan.pane->content == PictureSource::slide)
        drawPane(*plan.pane, *picture.slide);
    if (plan.pinchBar) drawPinchBar(*plan.pinchBar);
    _encoder.endPass();
    _transfer.download(_encoder.commands(), _target, *picture.output);
    _recorder.submitAndWait();
    _transfer.finishDownload(*picture.output);
}

// The sharp camera picture fills the target: by copy where the sizes agree, else stretched.
void FrameDrawer::placeCamera(const BackgroundDraw& draw, const PixelBuffer& camera) {
    if (camera.width() == _output.width && camera.height() == _output.height) {
        _transfer.upload(_encoder.commands(), camera, draw.mirror, _target);
        return;
    }
    if (_camera.width() != camera.width() || _camera.height() != camera.height())
        _camera = VulkanImage(_context, camera.width(), camera.height(), pictureFormat,
                              VK_IMAGE_USAGE_SAMPLED_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT,
                              "lanternfly.camera");
    _transfer.upload(_encoder.commands(), camera, draw.mirror, _camera);
    _camera.use(_encoder.commands(), ImageUse::sampled);
    _target.discard();
    _encoder.beginPass(_target, wholeFrame(), FrameEncoder::Start::undefined, "lanternfly.camera");
    _encoder.draw(_pipelines.camera, fullQuad(), opaque(), wholeFrame(), _camera.pictureSet());
    _encoder.endPass();
}

void FrameDrawer::encodeBlurs(const FramePlan& plan, float2 pixelScale) {
    if (plan.background.blurSigma)
        _backgroundBlur.encode(_encoder, _target, wholeFrame(),
                               *plan.background.blurSigma * pixelScale);
    if (plan.backdrop)
        _backdropBlur.encode(_encoder, _target, plan.backdrop->place.rect,
                             plan.backdrop->blurSigma * pixelScale);
}

void FrameDrawer::drawBackground(const BackgroundDraw& draw) {
    if (!draw.blurSigma) return; // the target holds the sharp picture already
    const float4 map = _backgroundBlur.pixelToPicture();
    const float right = static_cast<float>(_output.width) * map.x + map.z;
    const float bottom = static_cast<float>(_output.height) * map.y + map.w;
    const Quad quad{{-1, -1, map.z, bottom, 1, -1, right, bottom, //
                     -1, 1, map.z, map.w, 1, 1, right, map.w}};
    _encoder.draw(_pipelines.camera, quad, opaque(), wholeFrame(), _backgroundBlur.picture());
}

void FrameDrawer::drawBackdrop(const BackdropDraw& draw) {
    PushedUniforms uniforms = uniformsOf(draw.place);
    uniforms.params = draw.uniforms.params;
    uniforms.params2 = _backdropBlur.pixelToPicture();
    _encoder.draw(_pipelines.backdrop, draw.place.quad, uniforms, draw.place.rect,
                  _backdropBlur.picture());
}

void FrameDrawer::drawPane(const PaneDraw& draw, const Texture& slide) {
    const VulkanTexture* texture = live(&slide);
    if (!texture) return;
    PushedUniforms uniforms = uniformsOf(draw.place);
    uniforms.params = draw.uniforms.params;
    uniforms.params2 = draw.uniforms.glass;
    uniforms.params3 = draw.uniforms.glass2;
    const int level = prefilteredLevel({texture->width(), texture->height()}, texture->levelCount(),
                                       draw.drawnSizePX);
    _encoder.draw(_pipelines.overlay, draw.place.quad, uniforms, draw.place.rect,
                  texture->pictureSet(level));
}

void FrameDrawer::drawPinchBar(const PinchBarDraw& draw) {
    PushedUniforms uniforms = uniformsOf(draw.place);
    uniforms.params = draw.uniforms.params;
    _encoder.draw(_pipelines.pinchIndicator, draw.place.quad, uniforms, draw.place.rect);
}

const VulkanTexture* FrameDrawer::live(const Texture* texture) const {
    const auto* known = static_cast<const VulkanTexture*>(texture);
    return known && known->context() == _context ? known : nullptr;
}

void FrameDrawer::warmUp() {
    constexpr PixelRect corner{0, 0, 1, 1};
    const VkCommandBuffer commands = _recorder.begin();
    _encoder.begin(commands);
    VulkanImage picture(_context, 1, 1, pictureFormat, targetUsage, "lanternfly.warmUp");
    VulkanImage blurred(_context, 1, 1, blurFormat, targetUsage, "lanternfly.warmUp");
    const auto drawWith = [&](const PipelineHandle& pipeline, VulkanImage& source) {
        if (pipeline)
            _encoder.draw(pipeline, fullQuad(), opaque(), corner, source.pictureSet(),
                          source.pictureSet());
    };
    picture.use(commands, ImageUse::drawnTo);
    _encoder.beginPass(picture, corner, FrameEncoder::Start::opaqueBlack, "lanternfly.warmUp");
    _encoder.endPass();
    picture.use(commands, ImageUse::sampled);
    for (const auto* pipeline : {&_pipelines.reduce, &_pipelines.gauss}) {
        _encoder.beginPass(blurred, corner, FrameEncoder::Start::opaqueBlack, "lanternfly.warmUp");
        drawWith(*pipeline, picture);
        _encoder.endPass();
    }
    blurred.use(commands, ImageUse::sampled);
    _encoder.beginPass(_target, wholeFrame(), FrameEncoder::Start::opaqueBlack,
                       "lanternfly.warmUp");
    for (const auto* pipeline : {&_pipelines.overlay, &_pipelines.annotation, &_pipelines.spatial,
                                 &_pipelines.pinchIndicator, &_pipelines.twoHandDots})
        drawWith(*pipeline, picture);
    // What software drivers compile also depends on the format that is sampled.
    for (const auto* pipeline : {&_pipelines.camera, &_pipelines.backdrop})
        for (VulkanImage* source : {&picture, &blurred})
            drawWith(*pipeline, *source);
    _encoder.endPass();
    _recorder.submitAndWait();
}

} // namespace lanternfly
