// The tuning of a presentation: what the user saved, edited live, pushed to where it works, and
// saved when the user says so.
// Threads: bound to the presentation's thread.
#pragma once

#include <string_view>

#include "app/FramePipeline.h"
#include "store/Tunings.h"

namespace lanternfly {

class HostTuning {
public:
    // Pipeline and store outlive the tuning.
    HostTuning(FramePipeline& pipeline, DefaultsStore& store);
    HostTuning(const HostTuning&) = delete;
    HostTuning& operator=(const HostTuning&) = delete;

    TrackingTuning tracking;
    TiltTuning tilt;
    OpacityTuning opacity;
    BiasTuning bias;
    DevTuning glass;
    SpatialCompositingTuning spatialCompositing;
    Model3DLightingTuning model3dLighting;

    // A field by its name in tuningFields(); a switch is on unless the value is 0.
    void set(std::string_view field, float value);
    // Back to what the user saved, or the built-in tuning.
    void reset();
    // False when not all of it could be stored.
    bool save() const;

private:
    template <typename Body>
    void forEach(Body body) {
        body(tracking), body(tilt), body(opacity), body(bias), body(glass),
            body(spatialCompositing), body(model3dLighting);
    }
};

} // namespace lanternfly
