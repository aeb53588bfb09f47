#include <gtest/gtest.h>

#include "app/SlidePlacement.h"

namespace lanternfly {
namespace {

constexpr float wide = 16.0f / 9, classic = 4.0f / 3, portrait = 0.7071f;

void expectNear(const OverlayTransform& a, const OverlayTransform& b) {
    EXPECT_NEAR(a.position.x, b.position.x, 1e-5);
    EXPECT_NEAR(a.position.y, b.position.y, 1e-5);
    EXPECT_NEAR(a.scale, b.scale, 1e-5);
    EXPECT_EQ(a.visibility, b.visibility);
}

// Its height in the canvas, 0…1.
float heightOf(const OverlayTransform& placement, float slideAspect) {
    return placement.scale * wide / slideAspect;
}

TEST(SlidePlacement, TheCornerIsTheOneOfTheFirstSlide) {
    const auto corner = SlidePlacement::upperRight(wide, wide);
    EXPECT_NEAR(corner.position.x, OverlayTransform::day4Default.position.x, 1e-4);
    EXPECT_NEAR(corner.position.y, OverlayTransform::day4Default.position.y, 1e-4);
    EXPECT_EQ(corner.scale, OverlayTransform::day4Default.scale);
}

TEST(SlidePlacement, InTheMiddleASlideOfAnyShapeIsWhole) {
    for (const float aspect : {0.1f, portrait, 1.0f, classic, wide, 5.0f}) {
        const auto centre = SlidePlacement::centre(aspect, wide);
        EXPECT_EQ(centre.position, float2(0, 0));
        EXPECT_LE(centre.scale, 0.6f);
        EXPECT_LE(heightOf(centre, aspect), 0.851f);
    }
}

TEST(SlidePlacement, FillingTouchesTwoEdges) {
    EXPECT_EQ(SlidePlacement::fillScale(wide, wide), 1);
    EXPECT_EQ(SlidePlacement::fillScale(5, wide), 1);
    EXPECT_FLOAT_EQ(SlidePlacement::fillScale(classic, wide), 0.75f);
}

TEST(SlidePlacement, APageOfAnotherShapeIsAsLargeAndAroundTheSameCentre) {
    const OverlayTransform held{{0.1f, -0.2f}, 0.5f, 0};
    const auto adapted = SlidePlacement::adapted(held, wide, classic, wide);
    EXPECT_EQ(adapted.position, held.position);
    EXPECT_EQ(adapted.visibility, 0);
    EXPECT_NEAR(adapted.scale * heightOf(adapted, classic), held.scale * heightOf(held, wide),
                1e-5);
    expectNear(SlidePlacement::adapted(adapted, classic, wide, wide), held);
}

TEST(SlidePlacement, InTheCornerAPageOfAnotherShapeStaysInIt) {
    const auto corner = SlidePlacement::upperRight(wide, wide);
    const auto adapted = SlidePlacement::adapted(corner, wide, portrait, wide);
    EXPECT_NEAR(adapted.position.y + heightOf(adapted, portrait) / 2,
                corner.position.y + heightOf(corner, wide) / 2, 1e-5);
    EXPECT_NEAR(adapted.position.x - adapted.scale / 2, corner.position.x - corner.scale / 2, 1e-5);
    expectNear(SlidePlacement::adapted(adapted, portrait, wide, wide), corner);
}

} // namespace
} // namespace lanternfly
