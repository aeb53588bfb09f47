#include <gtest/gtest.h>

#include "app/PinchRoutes.h"

namespace lanternfly {
namespace {

using enum PinchReceiver;

struct Row {
    HostMode mode;
    bool isLocked, areBothHandsHolding;
    PinchReceiver oneHand, twoHands;
};
class PinchRoutes : public testing::TestWithParam<Row> {};

TEST_P(PinchRoutes, SayWhoTakesAPinch) {
    const auto& [mode, isLocked, areBothHandsHolding, oneHand, twoHands] = GetParam();
    EXPECT_EQ(takerOfOneHand(mode, isLocked, areBothHandsHolding), oneHand);
    EXPECT_EQ(takerOfTwoHands(mode, isLocked), twoHands);
}

INSTANTIATE_TEST_SUITE_P(Table, PinchRoutes,
                         testing::Values(Row{HostMode::slide, false, false, slide, slide},
                                         Row{HostMode::slide, false, true, nobody, slide},
                                         Row{HostMode::slide, true, false, nobody, nobody},
                                         Row{HostMode::drawing, false, false, ink, nobody},
                                         Row{HostMode::drawing, false, true, ink, nobody},
                                         Row{HostMode::drawing, true, false, ink, nobody},
                                         Row{HostMode::typing, false, false, slide, slide},
                                         Row{HostMode::typing, true, false, nobody, nobody},
                                         Row{HostMode::model, false, false, model, model},
                                         Row{HostMode::model, false, true, nobody, model},
                                         Row{HostMode::model, true, false, nobody, nobody}));

} // namespace
} // namespace lanternfly
