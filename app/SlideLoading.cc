#include "app/SlideLoading.h"

#include <future>
#include <optional>

#include <fmt/format.h>

#include "app/CommandError.h"
#include "base/SerialQueue.h"
#include "sources/PDFSlideSource.h"

namespace lanternfly {
namespace {

struct LoadedSlide {
    TextureRef texture;
    std::optional<PdfError> failure;
};

} // namespace

TextureRef loadSlide(const std::filesystem::path& deck, int page, const DeviceRef& device,
                     PdfOpener& opener) {
    const auto queue = std::make_shared<SerialQueue>("org.lanternfly.Lanternfly.slides");
    const auto slides = PDFSlideSource::open(deck, device, opener, executorOf(queue));
    if (page < 1 || page > slides->slideCount())
        throw CommandError(fmt::format("{} has no page {}: choose --page 1 to {}", deck.string(),
                                       page, slides->slideCount()));

    std::promise<LoadedSlide> loaded;
    std::optional<PdfError> failure;
    queue->async([&] {
        slides->setFailureHandler([&](int, const PdfError& error) { failure.emplace(error); });
        constexpr SlideSizePX size{PDFSlideSource::precacheSidePX, PDFSlideSource::precacheSidePX};
        slides->texture(page - 1, size, [&](SlideSource::TextureResult result) {
            const auto* texture = std::get_if<TextureRef>(&result);
            loaded.set_value({texture ? *texture : nullptr, failure});
        });
    });
    const LoadedSlide slide = loaded.get_future().get();
    if (slide.failure) throw *slide.failure;
    if (!slide.texture)
        throw CommandError(fmt::format("page {} of {} cannot be drawn; choose another page or "
                                       "export the deck again",
                                       page, deck.string()));
    return slide.texture;
}

} // namespace lanternfly
