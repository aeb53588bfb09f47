#include "motion/OverlayTransform.h"

#include <cmath>

#include <gtest/gtest.h>

#include "document/Layer.h"
#include "motion/OverlaySnapshot.h"
#include "motion/PinchIndicatorState.h"
#include "motion/TwoHandDiscoverabilityState.h"

namespace lanternfly {

TEST(OverlayTransform, StartsWhereUpperRightPutsAWideSlideToFourDecimals) {
    const auto exact = OverlayTransform::upperRight(16.0f / 9, 16.0f / 9, 0.36f, 0.0125f);
    EXPECT_NEAR(OverlayTransform::day4Default.position.x, exact.position.x, 0.00005f);
    EXPECT_NEAR(OverlayTransform::day4Default.position.y, exact.position.y, 0.00005f);
    EXPECT_EQ(OverlayTransform::day4Default.position, float2(-0.3075f, 0.2978f));
    EXPECT_EQ(OverlayTransform::day4Default.scale, 0.36f);
    EXPECT_EQ(OverlayTransform::day4Default.visibility, 1.0f);
}

TEST(OverlayTransform, PlacesUpperRightByTheSlidesOwnHeight) {
    const auto placed = OverlayTransform::upperRight(1, 2, 0.25f, 0.0625f);
    EXPECT_EQ(placed, (OverlayTransform{{-0.3125f, 0.125f}, 0.25f, 1}));
}

TEST(OverlayTransform, TakesASlideAspectOfAtLeastOneHundredth) {
    const auto least = OverlayTransform::upperRight(0.01f, 1.5f, 0.3f, 0.02f);
    EXPECT_EQ(OverlayTransform::upperRight(0, 1.5f, 0.3f, 0.02f), least);
    EXPECT_EQ(OverlayTransform::upperRight(-3, 1.5f, 0.3f, 0.02f), least);
    EXPECT_NE(OverlayTransform::upperRight(0.02f, 1.5f, 0.3f, 0.02f), least);
}

TEST(OverlayTransform, CentresWhateverTheAspects) {
    const OverlayTransform middle{{0, 0}, 0.7f, 1};
    EXPECT_EQ(OverlayTransform::centered(0, 0, 0.7f), middle);
    EXPECT_EQ(OverlayTransform::centered(16.0f / 9, 4.0f / 3, 0.7f), middle);
}

TEST(OverlayTransform, TurnsDepthIntoScaleAndBack) {
    EXPECT_EQ(OverlayTransform::scaleForDepth(0.5f), 0.36f);
    EXPECT_EQ(OverlayTransform::depthForScale(0.36f), 0.5f);
    EXPECT_FLOAT_EQ(OverlayTransform::scaleForDepth(0), 0.18f);
    EXPECT_FLOAT_EQ(OverlayTransform::scaleForDepth(1), 0.65f);
    for (const float z : {0.0f, 0.5f, 1.0f, -0.4f, 0.21f, 0.83f, 1.6f})
        EXPECT_NEAR(OverlayTransform::depthForScale(OverlayTransform::scaleForDepth(z)), z, 1e-6f);
}

TEST(OverlayTransform, ContinuesDepthBeyondItsEnds) {
    EXPECT_NEAR(OverlayTransform::depthForScale(0.1f), -0.2222222f, 1e-6f);
    EXPECT_FLOAT_EQ(OverlayTransform::scaleForDepth(2), 1.23f);
}

TEST(OverlayTransform, PlacesALayerByItsExplicitPosition) {
    Layer layer;
    layer.placement.position = Position{-0.6, 0.4, 1};
    layer.placement.anchor = Anchor::bottomRight;
    layer.isHidden = true;
    const auto transform = OverlayTransform::ofLayer(layer, 16.0f / 9);
    EXPECT_EQ(transform.position, float2(-0.3f, 0.2f));
    EXPECT_FLOAT_EQ(transform.scale, 0.65f);
    EXPECT_EQ(transform.visibility, 0.0f);
}

TEST(OverlayTransform, PlacesALayerByItsAnchorAndSizeClass) {
    const float2 places[anchorCount] = {{-0.5f, 0.5f}, {0, 0.5f}, {0.5f, 0.5f},   {-0.5f, 0},
                                        {0, 0},        {0.5f, 0}, {-0.5f, -0.5f}, {0, -0.5f},
                                        {0.5f, -0.5f}, {0, 0}};
    const float scales[sizeClassCount] = {0.65f, 0.36f, 0.18f};
    for (int anchor = 0; anchor < anchorCount; ++anchor)
        for (int size = 0; size < sizeClassCount; ++size) {
            Layer layer;
            layer.placement.anchor = static_cast<Anchor>(anchor);
            layer.placement.sizeClass = static_cast<SizeClass>(size);
            const auto transform = OverlayTransform::ofLayer(layer, 1);
            EXPECT_EQ(transform.position, places[anchor]);
            EXPECT_FLOAT_EQ(transform.scale, scales[size]);
            EXPECT_EQ(transform.visibility, 1.0f);
        }
}

TEST(OverlayTransform, PlacesALayerOfAnUnknownSizeAtTheMiddleScale) {
    Layer layer;
    layer.placement.sizeClass = static_cast<SizeClass>(7);
    EXPECT_EQ(OverlayTransform::ofLayer(layer, 1).scale, 0.36f);
}

TEST(OverlayTransform, TakesAPositionThatIsNotFiniteForAbsent) {
    for (const double bad : {std::nan(""), HUGE_VAL, 1e300}) {
        Layer layer;
        layer.placement.position = Position{bad, 0, 0.5};
        layer.placement.anchor = Anchor::topLeft;
        EXPECT_EQ(OverlayTransform::ofLayer(layer, 1), (OverlayTransform{{-0.5f, 0.5f}, 0.36f, 1}));
    }
}

TEST(OverlayTransform, GivesItsPlaceInTheDocument) {
    const auto position = OverlayTransform{{0.25f, -0.5f}, 0.36f, 1}.kivaPosition();
    EXPECT_EQ(position, (Position{0.5, -1, 0.5}));
    Layer layer;
    layer.placement.position = Position{0.5, -0.25, 0.75};
    const auto back = OverlayTransform::ofLayer(layer, 1).kivaPosition();
    EXPECT_EQ(back.x, 0.5);
    EXPECT_EQ(back.y, -0.25);
    EXPECT_NEAR(back.z, 0.75, 1e-6);
}

TEST(OverlayStates, HaveNamedRestingValues) {
    EXPECT_EQ(OverlayAppearance::visible, (OverlayAppearance{1, 0, 0, 0}));
    EXPECT_EQ(OverlayAppearance::hidden, (OverlayAppearance{0, 0, 0, 0}));
    EXPECT_EQ(PinchIndicatorState::inactive.opacity, 0.0f);
    EXPECT_EQ(TwoHandDiscoverabilityState::inactive,
              (TwoHandDiscoverabilityState{0, 0, {0, 0}, {0, 0}}));
}

} // namespace lanternfly
