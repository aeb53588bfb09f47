// Any bytes decode to a manifest that encodes and decodes to itself, or to a ManifestError.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "document/Manifest.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace lanternfly;
    try {
        const auto manifest =
            decodeManifest(std::string_view(reinterpret_cast<const char*>(data), size));
        if (decodeManifest(encode(manifest)) != manifest) std::abort();
    } catch (const ManifestError&) {
        // Refused, as it should be.
    }
    return 0;
}
