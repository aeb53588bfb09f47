#include "app/HostTuning.h"

#include <algorithm>

#include "app/TuningFields.h"

namespace lanternfly {
namespace {

template <typename Tuned>
auto saved(const DefaultsStore& store) {
    return PersistedTuningStore::savedOrDefaults<typename Tuned::Record>(store);
}

// Now, and after every change.
template <typename Tuned, typename Push>
void keepPushed(Tuned& tuning, Push push) {
    push(tuning.snapshot());
    tuning.observers.observe([&tuning, push] { push(tuning.snapshot()); });
}

} // namespace

HostTuning::HostTuning(FramePipeline& pipeline, DefaultsStore& store)
    : tracking(saved<TrackingTuning>(store), store), tilt(saved<TiltTuning>(store), store),
      opacity(saved<OpacityTuning>(store), store), bias(saved<BiasTuning>(store), store),
      glass(saved<DevTuning>(store), store),
      spatialCompositing(saved<SpatialCompositingTuning>(store), store),
      model3dLighting(saved<Model3DLightingTuning>(store), store) {
    keepPushed(tracking, [&](const auto& record) { pipeline.setTrackingConfig(record); });
    keepPushed(tilt, [&](const auto& record) { pipeline.driver().setTiltConfig(record); });
    keepPushed(opacity, [&](const auto& record) { pipeline.driver().setOpacityConfig(record); });
    keepPushed(bias, [&](const auto& record) { pipeline.driver().setBiasConfig(record); });
    keepPushed(glass, [&](const auto& record) {
        pipeline.changeStage([&](Stage& stage) { stage.glass = record; });
    });
}

void HostTuning::set(std::string_view field, float value) {
    forEach([&](auto& tuning) {
        using Record = typename std::remove_reference_t<decltype(tuning)>::Record;
        forEachField<Record>([&](const auto& each) {
            using Value = std::remove_cvref_t<decltype(Record::defaults.*each.member)>;
            if (isFieldOf<Record>(field, each.name))
                tuning.set(each.member, static_cast<Value>(value));
        });
    });
}

void HostTuning::reset() {
    forEach([](auto& tuning) { tuning.reset(); });
}

bool HostTuning::save() const {
    // All are tried: one that cannot be stored does not cost the others.
    return std::min({tracking.saveAsDefault(), tilt.saveAsDefault(), opacity.saveAsDefault(),
                     bias.saveAsDefault(), glass.saveAsDefault(),
                     spatialCompositing.saveAsDefault(), model3dLighting.saveAsDefault()});
}

} // namespace lanternfly
