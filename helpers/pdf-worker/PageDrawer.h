// SPDX-License-Identifier: GPL-2.0-or-later
// The document that this process was given, and the memory that its pages are drawn into.
// Threads: bound.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

#include <glib-object.h>
#include <poppler.h>

#include "base/UniqueFd.h"
#include "platform/linux/pdf/PdfProtocol.h"

namespace lanternfly {

class PageDrawer {
public:
    PageDrawer() = default;
    ~PageDrawer();
    PageDrawer(const PageDrawer&) = delete;
    PageDrawer& operator=(const PageDrawer&) = delete;

    pdfwire::OpenReply open(UniqueFd& document);
    pdfwire::PageSizeReply pageSize(uint32_t index) const;
    // False when the memory is not what the request says.
    bool setBuffer(const UniqueFd& memory, uint64_t sizeBytes);
    pdfwire::RenderReply render(uint32_t index, uint32_t widthPX, uint32_t heightPX);

private:
    struct Release {
        void operator()(void* object) const { g_object_unref(object); }
    };
    using Page = std::unique_ptr<PopplerPage, Release>;

    Page page(uint32_t index) const;

    std::unique_ptr<PopplerDocument, Release> _document;
    uint8_t* _buffer = nullptr;
    size_t _bufferBytes = 0;
};

} // namespace lanternfly
