#include "render/SmoothedLine.h"

#include <cmath>

#include <gtest/gtest.h>
#include <hwy/targets.h>

#include "render/StrokeGeometry.h"

namespace lanternfly {
namespace {

using Points = std::vector<double2>;

double2 unit(double2 way) {
    const double length = glm::length(way);
    return length > 0 ? way / length : double2(0);
}

double2 tangentAt(const Points& points, size_t i) {
    const double2 in = i > 0 ? unit(points[i] - points[i - 1]) : double2(0);
    const double2 out = i + 1 < points.size() ? unit(points[i + 1] - points[i]) : double2(0);
    if (glm::length(in + out) > 1e-6) return unit(in + out);
    return in != double2(0) ? in : double2(1, 0);
}

void expectSmoothed(const SmoothedLine& line, const Points& points, const std::string& name) {
    const Points expected = StrokeGeometry::smoothPolyline(points, 3);
    ASSERT_EQ(line.size(), expected.size()) << name;
    double arcPX = 0;
    for (size_t i = 0; i < expected.size(); ++i) {
        if (i > 0) arcPX += glm::distance(expected[i], expected[i - 1]);
        EXPECT_NEAR(glm::distance(double2(line.position(i)), expected[i]), 0, 3e-4) << name << i;
        EXPECT_NEAR(glm::distance(double2(line.tangent(i)), tangentAt(expected, i)), 0, 1e-3)
            << name << i;
        EXPECT_NEAR(line.arcPX(i), arcPX, 1e-5 * (1 + arcPX)) << name << i;
    }
    EXPECT_NEAR(line.lengthPX(), arcPX, 1e-5 * (1 + arcPX)) << name;
}

const std::pair<const char*, Points> lines[] = {
    {"two points ", {{10, 20}, {110, 40}}},
    {"a corner ", {{0, 0}, {100, 0}, {100, 100}}},
    {"a zigzag ", {{0, 0}, {100, 0}, {100, 100}, {300, 70}}},
    {"resting ", {{5, 5}, {5, 5}, {5, 5}, {40, 9}, {40, 9}, {60, 60}, {60, 60}}},
    {"back again ", {{0, 0}, {100, 0}, {0, 0}, {100, 0}, {0, 0}}},
    {"one place ", {{7, 8}, {7, 8}, {7, 8}, {7, 8}}},
    {"many ", {{1, 1}, {9, 4}, {30, 50}, {31, 51}, {31, 90}, {2, 80}, {3, 81}, {900, 500}}}};

TEST(SmoothedLine, HasThePointsOfThreeRoundsOfCornerCutting) {
    SmoothedLine line;
    for (const auto& [name, points] : lines) {
        line.assign(points);
        expectSmoothed(line, points, name);
    }
}

TEST(SmoothedLine, IsTheSameOnEveryInstructionSet) {
    for (const int64_t target : hwy::SupportedAndGeneratedTargets()) {
        hwy::SetSupportedTargetsForTest(target);
        hwy::GetChosenTarget().Update(hwy::SupportedTargets());
        SmoothedLine line;
        for (const auto& [name, points] : lines) {
            line.assign(points);
            expectSmoothed(line, points, std::string(name) + hwy::TargetName(target));
        }
    }
    hwy::SetSupportedTargetsForTest(0);
    hwy::GetChosenTarget().Update(hwy::SupportedTargets());
}

} // namespace
} // namespace lanternfly
