// Any stored bytes give a record that is stored and read again as itself, or none.
#include <cstdint>
#include <cstdlib>
#include <string_view>

#include "store/Tunings.h"

namespace {

using namespace lanternfly;

template <typename Record>
void check(std::string_view bytes) {
    const auto record = PersistedTuningStore::decoded<Record>(bytes);
    if (!record) return;
    // JSON numbers are finite, so what was read can always be written.
    const auto again = PersistedTuningStore::encoded(*record);
    if (!again || PersistedTuningStore::decoded<Record>(*again) != record) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    check<TrackingConfig>(bytes);
    check<TiltConfig>(bytes);
    check<OpacityConfig>(bytes);
    check<BiasConfig>(bytes);
    check<VisionOSTuning>(bytes);
    check<SpatialCompositingConfig>(bytes);
    check<Model3DLightingConfig>(bytes);
    return 0;
}
