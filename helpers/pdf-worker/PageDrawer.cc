// SPDX-License-Identifier: GPL-2.0-or-later
#include "PageDrawer.h"

#include <algorithm>
#include <cmath>

#include <cairo.h>
#include <sys/mman.h>
#include <sys/stat.h>

namespace lanternfly {

PageDrawer::~PageDrawer() {
    if (_buffer) munmap(_buffer, _bufferBytes);
}

pdfwire::OpenReply PageDrawer::open(UniqueFd& document) {
    if (_document || !document) return {pdfwire::OpenStatus::damaged, 0};
    GError* error = nullptr;
    _document.reset(poppler_document_new_from_fd(document.release(), nullptr, &error));
    if (!_document) {
        const bool isEncrypted =
            g_error_matches(error, POPPLER_ERROR, POPPLER_ERROR_ENCRYPTED) != FALSE;
        g_clear_error(&error);
        return {isEncrypted ? pdfwire::OpenStatus::encrypted : pdfwire::OpenStatus::damaged, 0};
    }
    const int pages = poppler_document_get_n_pages(_document.get());
    return {pdfwire::OpenStatus::opened,
            static_cast<uint32_t>(std::clamp(pages, 0, static_cast<int>(pdfwire::maxPageCount)))};
}

PageDrawer::Page PageDrawer::page(uint32_t index) const {
    if (!_document ||
        index >= static_cast<uint32_t>(std::max(poppler_document_get_n_pages(_document.get()), 0)))
        return nullptr;
    return Page(poppler_document_get_page(_document.get(), static_cast<int>(index)));
}

pdfwire::PageSizeReply PageDrawer::pageSize(uint32_t index) const {
    pdfwire::PageSizeReply size;
    if (const auto shown = page(index))
        poppler_page_get_size(shown.get(), &size.width, &size.height);
    if (!std::isfinite(size.width) || !std::isfinite(size.height) || size.width < 0 ||
        size.height < 0)
        return {};
    return size;
}

bool PageDrawer::setBuffer(const UniqueFd& memory, uint64_t sizeBytes) {
    struct stat status {};
    if (!memory || fstat(memory.get(), &status) != 0 ||
        static_cast<uint64_t>(status.st_size) < sizeBytes)
        return false;
    if (_buffer) munmap(_buffer, _bufferBytes);
    void* mapped = mmap(nullptr, sizeBytes, PROT_READ | PROT_WRITE, MAP_SHARED, memory.get(), 0);
    _buffer = mapped == MAP_FAILED ? nullptr : static_cast<uint8_t*>(mapped);
    _bufferBytes = _buffer ? sizeBytes : 0;
    return true;
}

pdfwire::RenderReply PageDrawer::render(uint32_t index, uint32_t widthPX, uint32_t heightPX) {
    const auto shown = page(index);
    const auto size = pageSize(index);
    const uint64_t strideBytes = uint64_t{widthPX} * 4;
    if (!shown || size.width <= 0 || size.height <= 0 || strideBytes * heightPX > _bufferBytes)
        return {pdfwire::RenderStatus::failed};

    cairo_surface_t* surface = cairo_image_surface_create_for_data(
        _buffer, CAIRO_FORMAT_ARGB32, static_cast<int>(widthPX), static_cast<int>(heightPX),
        static_cast<int>(strideBytes));
    cairo_t* context = cairo_create(surface);
    cairo_set_source_rgb(context, 1, 1, 1);
    cairo_paint(context);
    // The sides are rounded to whole pixels: scaling each by its own factor leaves no pale line
    // along the edge of a dark slide.
    cairo_scale(context, widthPX / size.width, heightPX / size.height);
    poppler_page_render(shown.get(), context);
    const bool isDrawn = cairo_status(context) == CAIRO_STATUS_SUCCESS;
    cairo_destroy(context);
    cairo_surface_finish(surface);
    cairo_surface_destroy(surface);
    return {isDrawn ? pdfwire::RenderStatus::drawn : pdfwire::RenderStatus::failed};
}

} // namespace lanternfly
