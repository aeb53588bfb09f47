#include "PlaceboPeer.h"

#include <algorithm>
#include <ctime>
#include <memory>
#include <vector>

extern "C" {
#include <libplacebo/renderer.h>
#include <libplacebo/vulkan.h>
}

#include "support/Pictures.h"

namespace lanternfly::bench {

namespace {

constexpr int width = 1920, height = 1080;
constexpr int overlayWidth = 640, overlayHeight = 360;

// Objects of the library, destroyed through the address of their pointer.
template <typename Object, void (*destroyObject)(Object*)>
class Owned {
public:
    explicit Owned(Object object) : _object(object) {}
    ~Owned() { destroyObject(&_object); }
    Owned(const Owned&) = delete;
    Owned& operator=(const Owned&) = delete;
    Object get() const { return _object; }

private:
    Object _object;
};

// Tightly packed rows, as the transfers take them.
std::vector<uint8_t> packed(const PixelBuffer& picture) {
    std::vector<uint8_t> bytes;
    for (int y = 0; y < picture.height(); ++y)
        bytes.insert(bytes.end(), picture.row(y), picture.row(y) + picture.width() * 4);
    return bytes;
}

pl_frame frameOn(pl_tex texture) {
    pl_frame frame{};
    frame.num_planes = 1;
    frame.planes[0].texture = texture;
    frame.planes[0].components = 4;
    for (int i = 0; i < 4; ++i)
        frame.planes[0].component_mapping[i] = i;
    frame.repr.sys = PL_COLOR_SYSTEM_RGB;
    frame.repr.levels = PL_COLOR_LEVELS_FULL;
    frame.repr.alpha = PL_ALPHA_PREMULTIPLIED;
    frame.color = pl_color_space_srgb;
    frame.crop = {0, 0, width, height};
    return frame;
}

double processCpuMs() {
    timespec time{};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) * 1e-6;
}

} // namespace

std::optional<double> placeboOverlayCpuMs() {
    const Owned<pl_log, pl_log_destroy> log(pl_log_create(PL_API_VER, &pl_log_default_params));
    pl_vulkan_params vulkanParameters = pl_vulkan_default_params;
    vulkanParameters.allow_software = true;
    const Owned<pl_vulkan, pl_vulkan_destroy> vulkan(
        pl_vulkan_create(log.get(), &vulkanParameters));
    if (!vulkan.get()) return std::nullopt;
    const pl_gpu gpu = vulkan.get()->gpu;
    const Owned<pl_renderer, pl_renderer_destroy> renderer(pl_renderer_create(log.get(), gpu));

    const auto camera = packed(*test::cameraScene(width, height));
    const auto overlayPixels = packed(*test::slidePicture(overlayWidth, overlayHeight, 200));
    std::vector<uint8_t> result(camera.size());
    const auto texture = [&](int w, int h, bool isTarget, const void* pixels) {
        pl_tex_params parameters{};
        parameters.w = w;
        parameters.h = h;
        parameters.format = pl_find_named_fmt(gpu, "rgba8");
        parameters.sampleable = !isTarget;
        parameters.host_writable = !isTarget;
        parameters.renderable = isTarget;
        parameters.host_readable = isTarget;
        parameters.initial_data = pixels;
        return pl_tex_create(gpu, &parameters);
    };
    pl_tex source = texture(width, height, false, nullptr);
    pl_tex target = texture(width, height, true, nullptr);
    pl_tex overlayTexture = texture(overlayWidth, overlayHeight, false, overlayPixels.data());

    pl_overlay_part part{};
    part.src = {0, 0, overlayWidth, overlayHeight};
    part.dst = {100, 100, 100 + overlayWidth, 100 + overlayHeight};
    pl_overlay overlay{};
    overlay.tex = overlayTexture;
    overlay.mode = PL_OVERLAY_NORMAL;
    overlay.parts = &part;
    overlay.num_parts = 1;
    overlay.repr = frameOn(source).repr;
    overlay.color = pl_color_space_srgb;
    const pl_frame in = frameOn(source);
    pl_frame out = frameOn(target);
    out.overlays = &overlay;
    out.num_overlays = 1;

    std::vector<double> times;
    bool isDrawn = true;
    for (int frame = 0; isDrawn && frame < 50; ++frame) {
        const double start = processCpuMs();
        pl_tex_transfer_params upload{};
        upload.tex = source;
        upload.ptr = const_cast<uint8_t*>(camera.data());
        pl_tex_transfer_params download{};
        download.tex = target;
        download.ptr = result.data();
        isDrawn = pl_tex_upload(gpu, &upload) &&
                  pl_render_image(renderer.get(), &in, &out, &pl_render_fast_params) &&
                  pl_tex_download(gpu, &download);
        if (frame >= 10) times.push_back(processCpuMs() - start);
    }
    for (pl_tex* used : {&source, &target, &overlayTexture})
        pl_tex_destroy(gpu, used);
    if (!isDrawn) return std::nullopt;
    std::nth_element(times.begin(), times.begin() + static_cast<ptrdiff_t>(times.size() / 2),
                     times.end());
    return times[times.size() / 2];
}

} // namespace lanternfly::bench
