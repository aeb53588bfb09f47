// Draws planned frames on one context: everything of the Vulkan renderer that dies with a lost
// device.
// Threads: bound.
#pragma once

#include "gpu/vulkan/CommandRecorder.h"
#include "gpu/vulkan/VulkanDevice.h"
#include "gpu/vulkan/VulkanTexture.h"
#include "render/FrameRenderer.h"
#include "render/vulkan/FrameTransfer.h"
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
    void warmUp();
    void placeCamera(const BackgroundDraw& draw, const PixelBuffer& camera);
    void encodeBlurs(const FramePlan& plan, float2 pixelScale);
    void drawBackground(const BackgroundDraw& draw);
    void drawBackdrop(const BackdropDraw& draw);
    void drawPane(const PaneDraw& draw, const Texture& slide);
    void drawPinchBar(const PinchBarDraw& draw);

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
    VulkanImage _target; // the frame
    VulkanImage _camera; // only when the camera's size is not the frame's
    VulkanBlur _backgroundBlur;
    VulkanBlur _backdropBlur;
};

} // namespace lanternfly
