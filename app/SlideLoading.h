// One page of a PDF, drawn and uploaded before a render begins.
// Threads: safe.
#pragma once

#include <filesystem>

#include "gpu/Device.h"
#include "platform/PdfDocument.h"

namespace lanternfly {

// The page (counted from 1) as a texture, first row at the bottom, as large as slides are prepared
// for a presentation. Throws PdfError, or CommandError for a page that is not there.
TextureRef loadSlide(const std::filesystem::path& deck, int page, const DeviceRef& device,
                     PdfOpener& opener);

} // namespace lanternfly
