#include "app/TuningFields.h"

#include <fmt/format.h>

namespace lanternfly {
namespace {

template <typename Record>
void appendFields(std::vector<TuningField>& fields) {
    forEachField<Record>([&](const auto& field) {
        if constexpr (std::is_same_v<Record, VisionOSTuning>)
            if (field.name == std::string_view("quadPad")) return; // follows the shadow
        const auto builtIn = Record::defaults.*field.member;
        fields.push_back({.name = fmt::format("{}.{}", recordName<Record>(), field.name),
                          .isSwitch = std::is_same_v<decltype(builtIn), const bool>,
                          .builtIn = static_cast<float>(builtIn)});
    });
}

template <typename... Records>
std::vector<TuningField> fieldsOf() {
    std::vector<TuningField> fields;
    (appendFields<Records>(fields), ...);
    return fields;
}

} // namespace

const std::vector<TuningField>& tuningFields() {
    static const auto fields =
        fieldsOf<TrackingConfig, TiltConfig, OpacityConfig, BiasConfig, VisionOSTuning,
                 SpatialCompositingConfig, Model3DLightingConfig>();
    return fields;
}

} // namespace lanternfly
