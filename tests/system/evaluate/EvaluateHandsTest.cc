// `lanternfly evaluate-hands` on pictures of the drawn presenter, whose truth is exactly known.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "platform/linux/video/VideoFileReader.h"
#include "support/Png.h"
#include "support/Shell.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

using nlohmann::json;
using test::contents;
using test::quoted;
using test::setContents;
using testing::HasSubstr;

const std::filesystem::path demo = std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "demo";
constexpr int pictures = 12, stride = 60;

// Twelve pictures of the demo as photos, with labels out of its truth.
class EvaluateHands : public testing::Test {
protected:
    static void SetUpTestSuite() {
        data = std::make_unique<test::TemporaryFolder>();
        json images = json::object();
        std::istringstream truth(contents(demo / "presenter_truth.jsonl"));
        const auto reader = VideoFileReader::open(demo / "presenter.mp4");
        for (int i = 0; i < pictures * stride; ++i) {
            const auto frame = reader->next();
            std::string line;
            std::getline(truth, line);
            if (i % stride != stride / 2) continue;
            const json object = json::parse(line);
            const std::string name = std::to_string(i) + ".png";
            ASSERT_TRUE(test::writePng(*frame->picture, (*data / name).string()));
            json hands = json::array();
            for (const json& hand : object["hands"])
                hands.push_back(
                    {{"landmarks", hand["landmarks"]}, {"right", hand["side"] == "right" ? 1 : 0}});
            images[name] = {{"source", i < 360 ? "first half" : "second half"},
                            {"hands", hands},
                            {"faces", json::array({object["face"]})}};
        }
        labels = json{{"images", images}};
        setContents(*data / "labels.json", labels.dump());
    }
    static void TearDownTestSuite() { data.reset(); }

    static test::ShellResult evaluate(const std::string& arguments) {
        return test::shell(LANTERNFLY_PROGRAM " evaluate-hands " + arguments);
    }
    // Its report, without what it says of its progress.
    static json report(const std::string& arguments) {
        const auto run = test::shell("(" LANTERNFLY_PROGRAM " evaluate-hands --json " + arguments +
                                     " 2>/dev/null)");
        EXPECT_EQ(run.exitCode, 0);
        return json::parse(run.output, nullptr, false);
    }
    static void expectOneClearLine(const test::ShellResult& run, const std::string& about) {
        EXPECT_EQ(run.exitCode, 1) << run.output;
        EXPECT_THAT(run.output, testing::StartsWith("lanternfly: "));
        EXPECT_EQ(std::count(run.output.begin(), run.output.end(), '\n'), 1) << run.output;
        EXPECT_THAT(run.output, HasSubstr(about));
    }

    static inline std::unique_ptr<test::TemporaryFolder> data;
    static inline json labels;
    test::TemporaryFolder out;
};

TEST_F(EvaluateHands, MeasuresPhotosBySource) {
    const json measured = report(quoted(data->path()));
    ASSERT_EQ(measured["sources"].size(), 3u);
    EXPECT_EQ(measured["sources"][0]["source"], "first half");
    const json& all = measured["sources"][2];
    EXPECT_EQ(all["source"], "all");
    EXPECT_EQ(all["pictures"], pictures);
    EXPECT_GE(all["recall"], 0.8);
    EXPECT_GE(all["precision"], 0.8);
    EXPECT_GE(all["pck_10"], 0.8);
    EXPECT_GE(all["largest_face"], 0.8);
    EXPECT_LE(all["tip_error"], 0.2);
    EXPECT_GT(all["milliseconds"], 0);
    EXPECT_GT(measured["megabytes"], 0.1);
    EXPECT_FALSE(measured.contains("peer"));
}

TEST_F(EvaluateHands, PrintsATableAndDrawsTheWorstPictures) {
    const auto run = evaluate(quoted(data->path()) + " --sheet " + quoted(out / "sheet.png"));
    ASSERT_EQ(run.exitCode, 0) << run.output;
    EXPECT_THAT(run.output, HasSubstr("\nsource "));
    EXPECT_THAT(run.output, HasSubstr("\nsecond half "));
    EXPECT_THAT(run.output, HasSubstr("\nall "));
    EXPECT_EQ(contents(out / "sheet.png").substr(1, 3), "PNG");
}

TEST_F(EvaluateHands, MeasuresAPeersAnswersTheSameWay) {
    setContents(out / "labels.json", labels.dump());
    const json all = report(quoted(data->path()) + " --peer " + quoted(out.path()))["peer"][2];
    EXPECT_EQ(all["recall"], 1);
    EXPECT_EQ(all["precision"], 1);
    EXPECT_EQ(all["pck_10"], 1);
    EXPECT_EQ(all["chirality"], 1);
    EXPECT_EQ(all["largest_face"], 1);
    EXPECT_TRUE(all["milliseconds"].is_null());
}

TEST_F(EvaluateHands, MeasuresOtherNetworks) {
    for (const char* file : {"hand_detector.onnx", "hand_landmarks.onnx"})
        std::filesystem::copy(std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "models" / file,
                              out.path());
    const json ours = report(quoted(data->path()));
    const json theirs = report(quoted(data->path()) + " --hand-model " + quoted(out.path()));
    EXPECT_EQ(theirs["model"], out.path().filename().string());
    EXPECT_EQ(theirs["sources"][2]["pck_10"], ours["sources"][2]["pck_10"]);
}

TEST_F(EvaluateHands, WhatCannotBeReadIsOneClearLine) {
    expectOneClearLine(evaluate(quoted(out.path())), "holds no labelled hands");
    expectOneClearLine(evaluate(quoted(out / "none")), "none");
    setContents(out / "labels.json", "{\"images\": {\"a.png\": {\"hands\": []}}}");
    expectOneClearLine(evaluate(quoted(out.path())), "a.png");
    setContents(out / "a.png", "this is no picture");
    expectOneClearLine(evaluate(quoted(out.path())), "a.png has no picture that can be decoded");
    setContents(out / "labels.json", "{\"images\"");
    expectOneClearLine(evaluate(quoted(out.path())), "does not hold labels of hands");
    expectOneClearLine(evaluate(quoted(data->path()) + " --hand-model " + quoted(out.path())),
                       "it holds neither hand_model.json nor hand_detector.onnx");
    expectOneClearLine(evaluate(quoted(data->path()) + " --peer " + quoted(out / "none")), "none");
    expectOneClearLine(evaluate(quoted(data->path()) + " --sheet " + quoted(out / "nowhere/s.png")),
                       "nowhere");
}

} // namespace
} // namespace lanternfly
