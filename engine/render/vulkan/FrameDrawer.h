// Draws planned frames on one context: everything of the Vulkan renderer that dies with a lost
// device.
// Threads: bound.
#pragma once

#include "gpu/vulkan/CommandRecorder.h"
#include "gpu/vulkan/VulkanDevice.h"
#include "gpu/vulkan/VulkanTexture.h"
#include "render/FrameRenderer.h"
#include "render/vulkan/FrameTransfer.h"
#include "render/vulkan/LayerDraws.h"
#include "render/vulkan/PipelineCacheFile.h"
#include "render/vulkan/VulkanBlur.h"

namespace lanternfly {

class FrameDrawer {
public:
    // Draws once with every pipeline, so that no frame has to wait for a compiler. Throws
    // VulkanError.
    FrameDrawer(VulkanContextRef context, const CompiledShaders& shaders, FrameSize output);

    const VulkanContextRef& context() const { return _context; }

    // Throws VulkanError; the output then holds an undefined picture.
    void draw(const FramePlan& plan, const FrameRenderer::Picture& picture);

private:
    struct Layers { // of the frame; null where there is none that is alive
        const VulkanTexture* slide = nullptr;
        const VulkanTexture* spatial = nullptr;
        const VulkanTexture* annotation = nullptr;
    };

    void warmUp();
    void prepareTarget(const FramePlan& plan, const PixelBuffer& camera, const Layers& layers);
    void uploadCamera(const PixelBuffer& camera, int lastLevel);
    void prepareBlurs(const FramePlan& plan, const PixelBuffer& camera, const Layers& layers);
    void prepareBackdrop(const BackdropDraw& draw, const PixelBuffer& camera, bool isInTarget);
    void drawBackground(const BackgroundDraw& draw, const Layers& layers);
    void drawBackdrop(const BackdropDraw& draw);
    void drawPane(const PaneDraw& draw, const VulkanTexture* slide);
    void drawSpatial(const SpatialDraw& draw, const VulkanTexture& model);
    void finishSpatial(const SpatialFinish& finish, const VulkanTexture& model);

    PixelRect wholeFrame() const { return {0, 0, _output.width, _output.height}; }
    // Null for a texture that was made before the device was lost.
    const VulkanTexture* live(const Texture* texture) const;

    const VulkanContextRef _context;
    const FrameSize _output;
    PipelineCacheFile _cacheFile;
    const Pipelines _pipelines;
    FrameEncoder _encoder;
    CommandRecorder _recorder;
    FrameTransfer _transfer;
    VulkanImage _target;   // the frame
    VulkanImage _camera;   // when the camera is not simply copied into the frame
    VulkanImage _underlay; // the sharp frame below the 3D model
    VulkanImage _black;    // one pixel
    LayerDraws _layerDraws;
    VulkanBlur _backgroundBlur;
    VulkanBlur _backdropBlur;
    VulkanBlur _underlayBlur;
    int _cameraLevel = 0;            // that the pane shows
    ScaleAndOffset _frameToBackdrop; // from pixels of the frame to the blurred picture
};

} // namespace lanternfly
