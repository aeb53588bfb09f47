#include "system/render/RenderFixture.h"

namespace lanternfly {
namespace {

using DemoTruth = test::RenderFixture;

// The whole way from pixels to pinches, held against what the presenter really did.
TEST_F(DemoTruth, EveryScriptedPinchIsSeenAndNoOther) {
    const auto run = render("--camera " + test::quoted(demo / "presenter.mp4") +
                            " --out out.mp4 --events events");
    ASSERT_EQ(run.exitCode, 0) << run.output;
    const auto check = test::shell(
        std::string(PYTHON_PROGRAM " ") +
        test::quoted(std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "tools/check_demo_truth.py") +
        " " + test::quoted(folder / "events") + " " + test::quoted(demo / "presenter_truth.jsonl"));
    EXPECT_EQ(check.exitCode, 0) << check.output;
}

} // namespace
} // namespace lanternfly
