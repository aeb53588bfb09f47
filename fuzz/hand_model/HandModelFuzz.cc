// Any bytes of a folder of hand networks are understood within their limits or refused.
#include <cstdint>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "platform/linux/vision/HandModel.h"
#include "platform/linux/vision/OnnxGraph.h"
#include "platform/linux/vision/OnnxInput.h"

namespace {

using namespace lanternfly;

void check(const NetworkDescription& network) {
    if (network.file.parent_path() != "folder") std::abort();
    for (size_t i = 0; i < network.mean.size(); ++i)
        if (!(network.deviation[i] > 0) || network.mean[i] != network.mean[i]) std::abort();
    const auto size = network.inputSizePX;
    if (size && (size->x < 1 || size->y < 1 || size->x > 1024 || size->y > 1024)) std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    try {
        const HandModel model = HandModel::parse(bytes, "folder");
        check(model.detector);
        check(model.landmarks);
    } catch (const std::runtime_error&) {
    }
    if (const auto input = pictureInputOf(bytes))
        if (input->x < 1 || input->y < 1) std::abort();
    isCoherentNetwork(bytes); // reads no byte outside
    return 0;
}
