// The tuning objects, one a record: properties bear the names of the record's fields.
// Threads: bound (main).
#pragma once

#include "store/BiasConfig.h"
#include "store/Model3DLightingConfig.h"
#include "store/OpacityConfig.h"
#include "store/SpatialCompositingConfig.h"
#include "store/TiltConfig.h"
#include "store/TrackingConfig.h"
#include "store/Tuning.h"
#include "store/VisionOSTuning.h"

namespace lanternfly {

class TrackingTuning : public Tuning<TrackingConfig> {
    template <auto field>
    using Property = TuningProperty<Tuning, field>;

public:
    using Tuning::Tuning;

    Property<&Record::positionFilterMinCutoff> positionFilterMinCutoff{*this};
    Property<&Record::positionFilterBeta> positionFilterBeta{*this};
    Property<&Record::sizeFilterMinCutoff> sizeFilterMinCutoff{*this};
    Property<&Record::sizeFilterBeta> sizeFilterBeta{*this};
    Property<&Record::predictionMs> predictionMs{*this};
    Property<&Record::predictionVelocityFloor> predictionVelocityFloor{*this};
    Property<&Record::springStiffness> springStiffness{*this};
    Property<&Record::springDamping> springDamping{*this};
    Property<&Record::pulseMagnitude> pulseMagnitude{*this};
    Property<&Record::pulseDecayRate> pulseDecayRate{*this};
    Property<&Record::releaseEaseSeconds> releaseEaseSeconds{*this};
    Property<&Record::landmarkFloorThumbTip> landmarkFloorThumbTip{*this};
    Property<&Record::landmarkFloorIndexTip> landmarkFloorIndexTip{*this};
    Property<&Record::landmarkFloorWrist> landmarkFloorWrist{*this};
    Property<&Record::landmarkFloorMiddleMCP> landmarkFloorMiddleMCP{*this};
    Property<&Record::engagedFloorRelaxation> engagedFloorRelaxation{*this};
    Property<&Record::pinchEnterRatio> pinchEnterRatio{*this};
    Property<&Record::pinchExitRatio> pinchExitRatio{*this};
};

class TiltTuning : public Tuning<TiltConfig> {
    template <auto field>
    using Property = TuningProperty<Tuning, field>;

public:
    using Tuning::Tuning;

    Property<&Record::stiffness> stiffness{*this};
    Property<&Record::damping> damping{*this};
    Property<&Record::drive> drive{*this};
    Property<&Record::maxAngleRad> maxAngleRad{*this};
    Property<&Record::accelClamp> accelClamp{*this};
};

class OpacityTuning : public Tuning<OpacityConfig> {
    template <auto field>
    using Property = TuningProperty<Tuning, field>;

public:
    using Tuning::Tuning;

    Property<&Record::opacityMax> opacityMax{*this};
    Property<&Record::opacityMin> opacityMin{*this};
};

class BiasTuning : public Tuning<BiasConfig> {
    template <auto field>
    using Property = TuningProperty<Tuning, field>;

public:
    using Tuning::Tuning;

    Property<&Record::centerRadius> centerRadius{*this};
    Property<&Record::centerStrength> centerStrength{*this};
    Property<&Record::fillRadius> fillRadius{*this};
    Property<&Record::fillStrength> fillStrength{*this};
};

class SpatialCompositingTuning : public Tuning<SpatialCompositingConfig> {
    template <auto field>
    using Property = TuningProperty<Tuning, field>;

public:
    using Tuning::Tuning;

    Property<&Record::levelMatchStrength> levelMatchStrength{*this};
    Property<&Record::useConservativePercentiles> useConservativePercentiles{*this};
    Property<&Record::sampleSensitivity> sampleSensitivity{*this};
    Property<&Record::lightWrapWidth> lightWrapWidth{*this};
    Property<&Record::lightWrapStrength> lightWrapStrength{*this};
    Property<&Record::underlayBlurSigma> underlayBlurSigma{*this};
    Property<&Record::modelEdgeSoftness> modelEdgeSoftness{*this};
};

class Model3DLightingTuning : public Tuning<Model3DLightingConfig> {
    template <auto field>
    using Property = TuningProperty<Tuning, field>;

public:
    using Tuning::Tuning;

    Property<&Record::keyIntensity> keyIntensity{*this};
    Property<&Record::sideIntensity> sideIntensity{*this};
    Property<&Record::bounceIntensity> bounceIntensity{*this};
    Property<&Record::monitorFillIntensity> monitorFillIntensity{*this};
    Property<&Record::masterTargetMin> masterTargetMin{*this};
    Property<&Record::masterTargetMax> masterTargetMax{*this};
    Property<&Record::refreshIntervalSeconds> refreshIntervalSeconds{*this};
    Property<&Record::temporalSmoothingAlpha> temporalSmoothingAlpha{*this};
    Property<&Record::iblEnabled> iblEnabled{*this};
    Property<&Record::iblIntensityExponent> iblIntensityExponent{*this};
};

// The pane's padding makes room for its shadow, so it always is the shadow's radius.
struct QuadPadFollowsShadow {
    static void apply(VisionOSTuning& record) { record.quadPad = record.shadowRadius; }
};

class DevTuning : public Tuning<VisionOSTuning, QuadPadFollowsShadow> {
    template <auto field>
    using Property = TuningProperty<Tuning, field>;

public:
    using Tuning::Tuning;

    Property<&Record::cornerRadius> cornerRadius{*this};
    Property<&Record::shadowRadius> shadowRadius{*this};
    Property<&Record::shadowStrength> shadowStrength{*this};
    Property<&Record::rimWidth> rimWidth{*this};
    Property<&Record::rimMin> rimMin{*this};
    Property<&Record::rimMax> rimMax{*this};
    Property<&Record::specularHeight> specularHeight{*this};
    Property<&Record::specularIntensity> specularIntensity{*this};
    Property<&Record::backdropBlurSigma> backdropBlurSigma{*this};
};

} // namespace lanternfly
