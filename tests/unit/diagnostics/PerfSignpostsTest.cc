#include "diagnostics/PerfSignposts.h"

#include <stdexcept>

#include <gtest/gtest.h>

#include "support/TraceReader.h"

namespace lanternfly {
namespace {

using Category = PerfSignposts::Category;

class PerfSignpostsTest : public testing::Test {
protected:
    void TearDown() override {
        PerfSignposts::enabled = true;
        PerfSignposts::setTrace(nullptr);
    }
    test::TracedScope traced;
};

TEST_F(PerfSignpostsTest, CategoriesKeepTheirRawNames) {
    EXPECT_STREQ(PerfSignposts::rawName(Category::model3DRender), "model3d-render");
    EXPECT_STREQ(PerfSignposts::rawName(Category::model3DTick), "model3d-tick");
    EXPECT_STREQ(PerfSignposts::rawName(Category::compositorComposite), "compositor-composite");
    EXPECT_STREQ(PerfSignposts::rawName(Category::twoHandProcess), "twohand-process");
}

TEST_F(PerfSignpostsTest, ACategoryHasOneLogUnderThePerfSubsystem) {
    auto& log = PerfSignposts::log(Category::twoHandProcess);
    EXPECT_EQ(log.subsystem, "org.lanternfly.Lanternfly.perf");
    EXPECT_EQ(log.category, "twohand-process");
    EXPECT_EQ(&log, &PerfSignposts::log(Category::twoHandProcess));
    EXPECT_NE(&log, &PerfSignposts::log(Category::model3DTick));
}

TEST_F(PerfSignpostsTest, BeginAndEndShareNameAndIdentifier) {
    const auto id = PerfSignposts::begin(Category::model3DTick, "tick");
    PerfSignposts::end(id, Category::model3DTick, "tick");
    const auto events = traced.finish();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[0]["ph"], "b");
    EXPECT_EQ(events[1]["ph"], "e");
    for (const auto& event : events) {
        EXPECT_EQ(event["cat"], "model3d-tick");
        EXPECT_EQ(event["name"], "tick");
        EXPECT_EQ(event["id"], static_cast<uint64_t>(id));
    }
}

TEST_F(PerfSignpostsTest, EveryBeginHasAnIdentifierOfItsOwn) {
    const auto first = PerfSignposts::begin(Category::model3DTick, "tick");
    const auto second = PerfSignposts::begin(Category::model3DTick, "tick");
    EXPECT_NE(first, PerfSignposts::SignpostID::none);
    EXPECT_NE(first, second);
}

TEST_F(PerfSignpostsTest, AnIntervalReturnsWhatItsBodyReturns) {
    int value = 3;
    EXPECT_EQ(PerfSignposts::interval(Category::twoHandProcess, "process", [] { return 7; }), 7);
    // A reference stays one.
    PerfSignposts::interval(Category::twoHandProcess, "process", [&]() -> int& { return value; }) =
        5;
    EXPECT_EQ(value, 5);
    EXPECT_EQ(traced.finish().size(), 4u);
}

TEST_F(PerfSignpostsTest, AnIntervalEndsWhenItsBodyThrows) {
    EXPECT_THROW(PerfSignposts::interval(Category::twoHandProcess, "process",
                                         [] { throw std::runtime_error("no"); }),
                 std::runtime_error);
    const auto events = traced.finish();
    ASSERT_EQ(events.size(), 2u);
    EXPECT_EQ(events[1]["ph"], "e");
}

TEST_F(PerfSignpostsTest, NothingHappensWhileDisabledButTheBodyRuns) {
    PerfSignposts::enabled = false;
    bool ran = false;
    const auto id = PerfSignposts::begin(Category::model3DRender, "render");
    PerfSignposts::end(id, Category::model3DRender, "render");
    PerfSignposts::interval(Category::model3DRender, "render", [&] { ran = true; });
    EXPECT_EQ(id, PerfSignposts::SignpostID::none);
    EXPECT_TRUE(ran);
    EXPECT_TRUE(traced.finish().empty());
}

TEST_F(PerfSignpostsTest, AnIntervalThatBeganWhileDisabledIsNotClosedInTheTrace) {
    PerfSignposts::enabled = false;
    const auto id = PerfSignposts::begin(Category::model3DRender, "render");
    PerfSignposts::enabled = true;
    PerfSignposts::end(id, Category::model3DRender, "render");
    EXPECT_TRUE(traced.finish().empty());
}

} // namespace
} // namespace lanternfly
