// Both parsers of the PDF helper's protocol: what decodes must be in range and encode to the same
// bytes again.
#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <span>

#include "base/Match.h"
#include "platform/linux/pdf/PdfProtocol.h"

using namespace lanternfly;
using namespace lanternfly::pdfwire;

namespace {

void require(bool condition) {
    if (!condition) std::abort();
}

template <typename Decoded>
void checkRoundTrip(const Decoded& decoded, std::span<const uint8_t> bytes) {
    const auto encoded = encode(decoded);
    require(std::ranges::equal(encoded.view(), bytes));
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::span<const uint8_t> bytes(data, size);
    if (const auto request = decodeRequest(bytes)) {
        checkRoundTrip(*request, bytes);
        match(
            *request, [](const OpenRequest&) {},
            [](const PageSizeRequest& r) { require(r.index < maxPageCount); },
            [](const BufferRequest& r) { require(r.sizeBytes > 0); },
            [](const RenderRequest& r) {
                require(r.index < maxPageCount && r.widthPX >= 1 && r.widthPX <= maxSidePX &&
                        r.heightPX >= 1 && r.heightPX <= maxSidePX);
            });
    }
    if (const auto reply = decodeReply(bytes)) {
        checkRoundTrip(*reply, bytes);
        match(
            *reply, [](const HelloReply& r) { require(r.version == protocolVersion); },
            [](const OpenReply& r) { require(r.pageCount <= maxPageCount); },
            [](const PageSizeReply& r) { require(r.width >= 0 && r.height >= 0); },
            [](const RenderReply& r) { require(r.status <= RenderStatus::failed); });
    }
    return 0;
}
