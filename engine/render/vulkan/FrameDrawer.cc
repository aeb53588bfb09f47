#include "render/vulkan/FrameDrawer.h"

#include "gpu/PrefilteredLevels.h"

namespace lanternfly {

namespace {

using Start = FrameEncoder::Start;

constexpr VkImageUsageFlags cameraUsage =
    VK_IMAGE_USAGE_SAMPLED_BIT | VK_IMAGE_USAGE_TRANSFER_SRC_BIT | VK_IMAGE_USAGE_TRANSFER_DST_BIT;
constexpr VkImageUsageFlags targetUsage = cameraUsage | VK_IMAGE_USAGE_COLOR_ATTACHMENT_BIT;

PushedUniforms opaque() {
    PushedUniforms uniforms;
    uniforms.params.x = 1;
    return uniforms;
}

int levelFor(const VulkanTexture& texture, float2 drawnSizePX) {
    return prefilteredLevel({texture.width(), texture.height()}, texture.levelCount(), drawnSizePX);
}

// Which of the camera's halved sizes the pane shows.
int cameraLevelOnPane(const FramePlan& plan, const PixelBuffer& camera) {
    if (!plan.pane || plan.pane->content != PictureSource::camera) return 0;
    return prefilteredLevel({camera.width(), camera.height()},
                            prefilteredLevelCount(camera.width(), camera.height()),
                            plan.pane->drawnSizePX);
}

float2 sizeOf(const PixelBuffer& picture) {
    return {picture.width(), picture.height()};
}

} // namespace

FrameDrawer::FrameDrawer(VulkanContextRef context, const CompiledShaders& shaders, FrameSize output)
    : _context(std::move(context)), _output(output),
      _cacheFile(*_context, PipelineCacheFile::pathFor(*_context)),
      _pipelines(*_context, shaders, _cacheFile.get()), _encoder(*_context, _pipelines),
      _recorder(_context, "lanternfly.composite"), _transfer(_context),
      _target(_context, output.width, output.height, pictureFormat, targetUsage,
              "lanternfly.output"),
      _black(_context, 1, 1, pictureFormat, targetUsage, "lanternfly.compositor.swap-black"),
      _layerDraws(*_context, output), _backgroundBlur(_context, "lanternfly.background.blurred"),
      _backdropBlur(_context, "lanternfly.camera.backdrop.blurred"),
      _underlayBlur(_context, "lanternfly.spatial.underlay.blurred") {
    warmUp();
    _cacheFile.save();
}

void FrameDrawer::draw(const FramePlan& plan, const FrameRenderer::Picture& picture) {
    const Layers layers{live(picture.slide), live(picture.spatial), live(picture.annotation)};
    _encoder.begin(_recorder.begin());
    prepareTarget(plan, *picture.camera, layers);
    _encoder.beginPass(_target, wholeFrame(), Start::kept, "lanternfly.composite.encoder");
    drawBackground(plan.background, layers);
    if (plan.backdrop) drawBackdrop(*plan.backdrop);
    if (plan.pane) drawPane(*plan.pane, layers.slide);
    if (plan.spatial && layers.spatial) drawSpatial(*plan.spatial, *layers.spatial);
    if (plan.annotation && layers.annotation)
        _layerDraws.drawPicture(_encoder, layers.annotation->pictureSet(0),
                                plan.annotation->opacity, plan.annotation->vDownward);
    if (plan.strokes) _layerDraws.drawStrokes(_encoder, *plan.strokes);
    if (plan.pinchBar) _layerDraws.drawPinchBar(_encoder, *plan.pinchBar);
    if (plan.twoHandDots) _layerDraws.drawTwoHandDots(_encoder, *plan.twoHandDots);
    if (plan.darkenAlpha)
        _layerDraws.drawPicture(_encoder, _black.pictureSet(), *plan.darkenAlpha, true);
    _encoder.endPass();
    _transfer.download(_encoder.commands(), _target, *picture.output);
    _recorder.submitAndWait();
    _transfer.finishDownload(*picture.output);
}

// What the main pass starts from: the sharp camera picture, or black where the slide is the
// background; and the blurred pictures that it samples.
void FrameDrawer::prepareTarget(const FramePlan& plan, const PixelBuffer& camera,
                                const Layers& layers) {
    const bool isCameraBehind = plan.background.source == PictureSource::camera;
    const bool isSameSize = camera.width() == _output.width && camera.height() == _output.height;
    if (isCameraBehind && isSameSize) {
        _transfer.upload(_encoder.commands(), camera, plan.background.mirror, _target);
    } else {
        if (isCameraBehind || plan.pane || plan.backdrop)
            uploadCamera(camera, cameraLevelOnPane(plan, camera));
        _target.discard();
        _encoder.beginPass(_target, wholeFrame(), Start::opaqueBlack, "lanternfly.background");
        if (isCameraBehind)
            _encoder.draw(_pipelines.camera,
                          plan.background.mirror ? Quad::padded(0, true, true) : fullQuad(),
                          opaque(), wholeFrame(), _camera.pictureSet());
        _encoder.endPass();
    }
    if (plan.background.blurSigma || plan.backdrop) prepareBlurs(plan, camera, layers);
}

void FrameDrawer::uploadCamera(const PixelBuffer& camera, int lastLevel) {
    if (_camera.width() != camera.width() || _camera.height() != camera.height())
        _camera = VulkanImage(_context, camera.width(), camera.height(), pictureFormat, cameraUsage,
                              "lanternfly.camera",
                              prefilteredLevelCount(camera.width(), camera.height()));
    _transfer.upload(_encoder.commands(), camera, false, _camera);
    _camera.halve(_encoder.commands(), lastLevel);
    _camera.use(_encoder.commands(), ImageUse::sampled);
    _cameraLevel = lastLevel;
}

void FrameDrawer::prepareBlurs(const FramePlan& plan, const PixelBuffer& camera,
                               const Layers& layers) {
    const bool isCameraBehind = plan.background.source == PictureSource::camera;
    const float2 frame(_output.width, _output.height);
    if (isCameraBehind) _target.use(_encoder.commands(), ImageUse::sampled);
    if (plan.background.blurSigma && isCameraBehind) {
        _backgroundBlur.encode(_encoder, _target.pictureSet(), frame, wholeFrame(),
                               *plan.background.blurSigma * frame / sizeOf(camera));
    } else if (plan.background.blurSigma && layers.slide) {
        const int level = levelFor(*layers.slide, plan.background.drawnSizePX);
        const int2 size = layers.slide->levelSize(level);
        const float2 full(layers.slide->width(), layers.slide->height());
        _backgroundBlur.encode(_encoder, layers.slide->pictureSet(level), size,
                               {0, 0, size.x, size.y},
                               *plan.background.blurSigma * float2(size) / full);
    }
    if (plan.backdrop) prepareBackdrop(*plan.backdrop, camera, isCameraBehind);
}

void FrameDrawer::prepareBackdrop(const BackdropDraw& draw, const PixelBuffer& camera,
                                  bool isInTarget) {
    const float2 frame(_output.width, _output.height);
    const PixelRect& rect = draw.place.rect;
    if (isInTarget) {
        _backdropBlur.encode(_encoder, _target.pictureSet(), frame, rect,
                             draw.blurSigma * frame / sizeOf(camera));
        _frameToBackdrop = _backdropBlur.pixelToPicture();
        return;
    }
    // Where the camera would be if it filled the frame.
    ScaleAndOffset toCamera{sizeOf(camera) / frame, float2(0)};
    if (draw.uniforms.params.z > 0.5f) {
        toCamera.offset.x = sizeOf(camera).x;
        toCamera.scale.x = -toCamera.scale.x;
    }
    const float2 a = float2(rect.x0, rect.y0) * toCamera.scale + toCamera.offset;
    const float2 b = float2(rect.x1, rect.y1) * toCamera.scale + toCamera.offset;
    const int2 low =
        glm::clamp(int2(glm::floor(glm::min(a, b))), int2(0), int2(sizeOf(camera)) - 1);
    const int2 high = glm::clamp(int2(glm::ceil(glm::max(a, b))), low + 1, int2(sizeOf(camera)));
    _backdropBlur.encode(_encoder, _camera.pictureSet(), sizeOf(camera),
                         {low.x, low.y, high.x, high.y}, float2(draw.blurSigma));
    _frameToBackdrop = toCamera.then(_backdropBlur.pixelToPicture());
}

void FrameDrawer::drawBackground(const BackgroundDraw& draw, const Layers& layers) {
    if (!draw.source) return;
    const bool isSlide = *draw.source == PictureSource::slide;
    if (isSlide && !layers.slide) return;
    if (!draw.blurSigma) {
        if (isSlide) // the sharp camera is in the target already
            _encoder.draw(_pipelines.camera, draw.quad, opaque(), draw.rect,
                          layers.slide->pictureSet(levelFor(*layers.slide, draw.drawnSizePX)));
        return;
    }
    float2 sourceSize(_output.width, _output.height);
    Quad quad = fullQuad();
    if (isSlide) {
        sourceSize = layers.slide->levelSize(levelFor(*layers.slide, draw.drawnSizePX));
        quad = draw.quad;
    }
    const ScaleAndOffset toPicture =
        ScaleAndOffset{sourceSize, float2(0)}.then(_backgroundBlur.pixelToPicture());
    for (size_t vertex = 0; vertex < 4; ++vertex) {
        quad.vertices[4 * vertex + 2] =
            quad.vertices[4 * vertex + 2] * toPicture.scale.x + toPicture.offset.x;
        quad.vertices[4 * vertex + 3] =
            quad.vertices[4 * vertex + 3] * toPicture.scale.y + toPicture.offset.y;
    }
    _encoder.draw(_pipelines.camera, quad, opaque(), draw.rect, _backgroundBlur.picture());
}

void FrameDrawer::drawBackdrop(const BackdropDraw& draw) {
    PushedUniforms uniforms;
    uniforms.mvp = draw.place.matrix;
    uniforms.params = draw.uniforms.params;
    uniforms.params2 = _frameToBackdrop.packed();
    _encoder.draw(_pipelines.backdrop, draw.place.quad, uniforms, draw.place.rect,
                  _backdropBlur.picture());
}

void FrameDrawer::drawPane(const PaneDraw& draw, const VulkanTexture* slide) {
    VkDescriptorSet content = VK_NULL_HANDLE;
    switch (draw.content) {
    case PictureSource::camera:
        content = _camera.pictureSet(_cameraLevel);
        break;
    case PictureSource::slide:
        if (slide) content = slide->pictureSet(levelFor(*slide, draw.drawnSizePX));
        break;
    }
    if (!content) return;
    PushedUniforms uniforms;
    uniforms.mvp = draw.place.matrix;
    uniforms.params = draw.uniforms.params;
    uniforms.params2 = draw.uniforms.glass;
    uniforms.params3 = draw.uniforms.glass2;
    _encoder.draw(_pipelines.overlay, draw.place.quad, uniforms, draw.place.rect, content);
}

void FrameDrawer::drawSpatial(const SpatialDraw& draw, const VulkanTexture& model) {
    if (draw.finish && _pipelines.spatial)
        finishSpatial(*draw.finish, model);
    else
        _layerDraws.drawPicture(_encoder, model.pictureSet(0), draw.opacity, true);
}

// The pass so far ends, so that it can be read, and a second one goes on.
void FrameDrawer::finishSpatial(const SpatialFinish& finish, const VulkanTexture& model) {
    const VkCommandBuffer commands = _encoder.commands();
    const float2 frame(_output.width, _output.height);
    _encoder.endPass();
    VkDescriptorSet background = VK_NULL_HANDLE;
    ScaleAndOffset toBackground;
    if (finish.underlayBlurSigma) {
        _target.use(commands, ImageUse::sampled);
        _underlayBlur.encode(_encoder, _target.pictureSet(), frame, wholeFrame(),
                             float2(*finish.underlayBlurSigma));
        background = _underlayBlur.picture();
        toBackground = ScaleAndOffset{frame, float2(0)}.then(_underlayBlur.pixelToPicture());
    } else {
        if (_underlay.width() == 0)
            _underlay = VulkanImage(_context, _output.width, _output.height, pictureFormat,
                                    cameraUsage, "lanternfly.spatial.underlay.capture");
        _transfer.copy(commands, _target, _underlay);
        _underlay.use(commands, ImageUse::sampled);
        background = _underlay.pictureSet();
    }
    _encoder.beginPass(_target, wholeFrame(), Start::kept,
                       "lanternfly.composite.encoder.post-spatial");
    PushedUniforms uniforms;
    uniforms.params = finish.uniforms.levelParams;
    uniforms.params2 = finish.uniforms.wrapParams;
    uniforms.params3 = toBackground.packed();
    _encoder.draw(_pipelines.spatial, fullQuad(), uniforms, wholeFrame(), model.pictureSet(0),
                  background);
}

const VulkanTexture* FrameDrawer::live(const Texture* texture) const {
    const auto* known = static_cast<const VulkanTexture*>(texture);
    return known && known->context() == _context ? known : nullptr;
}

void FrameDrawer::warmUp() {
    constexpr PixelRect corner{0, 0, 1, 1};
    const VkCommandBuffer commands = _recorder.begin();
    _encoder.begin(commands);
    VulkanImage blurred(_context, 1, 1, blurFormat, targetUsage, "lanternfly.warmUp");
    const auto drawWith = [&](const PipelineHandle& pipeline, VulkanImage& source) {
        if (pipeline)
            _encoder.draw(pipeline, fullQuad(), opaque(), corner, source.pictureSet(),
                          source.pictureSet());
    };
    _encoder.beginPass(_black, corner, Start::opaqueBlack, "lanternfly.warmUp");
    _encoder.endPass();
    _black.use(commands, ImageUse::sampled);
    for (const auto* pipeline : {&_pipelines.reduce, &_pipelines.gauss}) {
        _encoder.beginPass(blurred, corner, Start::opaqueBlack, "lanternfly.warmUp");
        drawWith(*pipeline, _black);
        _encoder.endPass();
    }
    blurred.use(commands, ImageUse::sampled);
    _encoder.beginPass(_target, wholeFrame(), Start::opaqueBlack, "lanternfly.warmUp");
    for (const auto* pipeline : {&_pipelines.overlay, &_pipelines.annotation, &_pipelines.spatial,
                                 &_pipelines.pinchIndicator, &_pipelines.twoHandDots})
        drawWith(*pipeline, _black);
    // What software drivers compile also depends on the format that is sampled.
    for (const auto* pipeline : {&_pipelines.camera, &_pipelines.backdrop})
        for (VulkanImage* source : {&_black, &blurred})
            drawWith(*pipeline, *source);
    _encoder.endPass();
    _recorder.submitAndWait();
}

} // namespace lanternfly
