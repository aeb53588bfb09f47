#include "system/render/RenderFixture.h"

namespace lanternfly {
namespace {

using DemoTruth = test::RenderFixture;

// The whole way from pixels to pinches, signs and strokes, held against what the presenter really
// did.
TEST_F(DemoTruth, EveryPinchSignAndStrokeIsSeenAndNoOther) {
    const auto run = render("--camera " + test::quoted(demo / "presenter.mp4") + " --script " +
                            test::quoted(demo / "demo.script") + " --out out.mp4 --events events");
    ASSERT_EQ(run.exitCode, 0) << run.output;
    const auto check = test::shell(
        std::string(PYTHON_PROGRAM " ") +
        test::quoted(std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "tools/check_demo_truth.py") +
        " " + test::quoted(folder / "events") + " " + test::quoted(demo / "presenter_truth.jsonl"));
    EXPECT_EQ(check.exitCode, 0) << check.output;

    const std::string events = test::contents(folder / "events");
    for (const std::string page : {"\"page\":1}", "\"page\":2}", "\"page\":3}"})
        EXPECT_THAT(events, testing::HasSubstr(page)) << "the peace sign turns the page";
    EXPECT_THAT(events, testing::Not(testing::HasSubstr("\"page\":4}")));
}

} // namespace
} // namespace lanternfly
