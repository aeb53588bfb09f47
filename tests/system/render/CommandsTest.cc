#include <nlohmann/json.hpp>

#include "system/render/RenderFixture.h"

namespace lanternfly {
namespace {

using test::contents;
using testing::HasSubstr;

using Commands = test::RenderFixture;

TEST_F(Commands, AreListedWithTheBindingsAndWhereTheseAre) {
    const auto run = lanternfly("commands");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.output, HasSubstr("go-to-page N"));
    EXPECT_THAT(run.output, HasSubstr("ink-colour NAME|#RRGGBB[AA]"));
    EXPECT_THAT(run.output, testing::ContainsRegex("peace-sign +slide +next-page"));
    EXPECT_THAT(run.output, HasSubstr("config/lanternfly/bindings.json"));
}

TEST_F(Commands, AreListedForPrograms) {
    const auto list = nlohmann::json::parse(lanternfly("commands --json").output);
    EXPECT_EQ(list["commands"][0]["name"], "next-page");
    EXPECT_EQ(
        list["bindings"][0],
        (nlohmann::json{{"sign", "peace-sign"}, {"mode", "slide"}, {"command", "next-page"}}));
}

TEST_F(Commands, BindingsAreWrittenOnceToBeEdited) {
    ASSERT_EQ(lanternfly("commands --write-defaults").exitCode, 0);
    const auto file = folder / "config/lanternfly/bindings.json";
    auto bindings = nlohmann::json::parse(contents(file));
    expectOneClearLine(lanternfly("commands --write-defaults"), "exists already; edit it");

    bindings["signs"][0]["command"] = "previous-page";
    bindings["keys"].push_back({{"key", "Q"}, {"command", "fly"}});
    std::ofstream(file) << bindings.dump();
    const auto run = lanternfly("commands");
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_THAT(run.output, testing::ContainsRegex("peace-sign +slide +previous-page"));
    EXPECT_THAT(run.output, HasSubstr("bindings.json: keys, row"));
    EXPECT_THAT(run.output, HasSubstr("there is no command fly"));
}

TEST_F(Commands, BindingsMayLieElsewhere) {
    write("mine.json", R"({"version": 1, "signs": []})");
    EXPECT_THAT(lanternfly("commands --bindings mine.json").output,
                testing::Not(HasSubstr("peace-sign")));
    expectOneClearLine(lanternfly("commands --bindings missing.json"), "missing.json: No such");
    EXPECT_EQ(lanternfly("commands --bindings new.json --write-defaults").exitCode, 0);
    EXPECT_TRUE(std::filesystem::exists(folder / "new.json"));
}

} // namespace
} // namespace lanternfly
