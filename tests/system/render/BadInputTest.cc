#include "system/render/RenderFixture.h"

namespace lanternfly {
namespace {

using test::contents;
using test::setContents;
using testing::HasSubstr;

// Every error is one line, exit code 1, and leaves the folder as it was.
struct BadInput : test::RenderFixture {
    void expectRefusal(const std::string& arguments, const std::string& about) {
        const size_t before = fileCount();
        expectOneClearLine(lanternfly("render --size 320x180 " + arguments), about);
        EXPECT_EQ(fileCount(), before) << arguments;
    }
};

TEST_F(BadInput, ACameraVideoThatIsNotThere) {
    expectRefusal("--camera none.mp4 --deck " + deck + " --out out.mp4", "none.mp4");
}

TEST_F(BadInput, ACameraVideoThatIsNoVideo) {
    setContents(folder / "letter.mp4", "Dear reader,\n");
    expectRefusal("--camera letter.mp4 --deck " + deck + " --out out.mp4", "letter.mp4");
    expectRefusal("--camera /dev/null --deck " + deck + " --out out.mp4", "/dev/null");
}

TEST_F(BadInput, SoundAlone) {
    ffmpeg("-f lavfi -i sine=440:d=1 tone.mp4");
    expectRefusal("--camera tone.mp4 --deck " + deck + " --out out.mp4", "no moving picture");
}

TEST_F(BadInput, ARecordingCutShortBeforeItsIndex) {
    makePlainClip("whole.mp4", "gray", 1);
    const auto whole = contents(folder / "whole.mp4");
    setContents(folder / "cut.mp4", whole.substr(0, whole.size() / 2));
    expectRefusal("--camera cut.mp4 --deck " + deck + " --out out.mp4", "cut short");
}

TEST_F(BadInput, ARecordingCutShortAfterItsIndexIsRenderedAsFarAsItGoes) {
    makeBusyClip("camera.mp4", 1);
    ffmpeg("-i camera.mp4 -c copy -movflags faststart whole.mp4");
    const auto whole = contents(folder / "whole.mp4");
    setContents(folder / "cut.mp4", whole.substr(0, whole.size() / 2));
    const auto run = render("--camera cut.mp4 --out out.mp4");
    EXPECT_EQ(run.exitCode, 0) << run.output;
    EXPECT_THAT(run.output, HasSubstr("cut.mp4"));
    const auto frames = framesOf("out.mp4");
    EXPECT_GT(frames.size(), 5u);
    EXPECT_LT(frames.size(), 30u);
}

TEST_F(BadInput, DecksThatCannotBeUsed) {
    makePlainClip("camera.mp4", "gray", 0.2);
    expectRefusal("--camera camera.mp4 --deck none.pdf --out out.mp4", "none.pdf");
    setContents(folder / "empty.pdf", "");
    expectRefusal("--camera camera.mp4 --deck empty.pdf --out out.mp4", "empty.pdf");
    setContents(folder / "random.pdf", std::string("%PDF-1.7\n") + std::string(5000, '\xa7'));
    expectRefusal("--camera camera.mp4 --deck random.pdf --out out.mp4", "random.pdf");
    expectRefusal("--camera camera.mp4 --deck camera.mp4 --out out.mp4", "camera.mp4");
}

TEST_F(BadInput, ADeckWithoutPages) {
    makePlainClip("camera.mp4", "gray", 0.2);
    setContents(folder / "none.pdf", "%PDF-1.4\n"
                                     "1 0 obj<</Type/Catalog/Pages 2 0 R>>endobj\n"
                                     "2 0 obj<</Type/Pages/Kids[]/Count 0>>endobj\n"
                                     "trailer<</Root 1 0 R/Size 3>>\n%%EOF\n");
    expectRefusal("--camera camera.mp4 --deck none.pdf --out out.mp4", "none.pdf");
}

TEST_F(BadInput, HostileDecksCostTheirOwnPictureAndNothingElse) {
    const auto broken = std::filesystem::path(LANTERNFLY_SOURCE_DIR) / "../shared/pdf/broken";
    if (!std::filesystem::is_directory(broken)) GTEST_SKIP() << "no hostile decks at " << broken;
    makePlainClip("camera.mp4", "gray", 0.1);
    for (const auto& file : std::filesystem::directory_iterator(broken)) {
        const auto run = lanternfly("render --size 320x180 --camera camera.mp4 --out out.mp4 "
                                    "--deck " +
                                    test::quoted(file.path()));
        if (run.exitCode != 0) {
            expectOneClearLine(run, file.path().filename().string());
            EXPECT_FALSE(std::filesystem::exists(folder / "out.mp4"));
        }
        std::filesystem::remove(folder / "out.mp4");
        EXPECT_EQ(fileCount(), 1u) << file.path();
    }
}

TEST_F(BadInput, APageThatIsNotThere) {
    makePlainClip("camera.mp4", "gray", 0.2);
    for (const char* page : {"0", "-1", "7", "2147483647"})
        expectRefusal("--camera camera.mp4 --deck " + deck + " --out out.mp4 --page " + page,
                      "choose --page 1 to 6");
}

TEST_F(BadInput, PlacesThatCannotBeWritten) {
    makePlainClip("camera.mp4", "gray", 0.2);
    const std::string inputs = "--camera camera.mp4 --deck " + deck + " ";
    expectRefusal(inputs + "--out nowhere/out.mp4", "nowhere/out.mp4");
    std::filesystem::create_directory(folder / "folder.mp4");
    expectRefusal(inputs + "--out folder.mp4", "folder.mp4");
    std::filesystem::create_symlink("/dev/full", folder / "full.mp4");
    expectRefusal(inputs + "--out full.mp4", "full.mp4");
    EXPECT_TRUE(std::filesystem::is_character_file("/dev/full"));
    expectRefusal(inputs + "--out out.avi", "out.avi");
    expectRefusal(inputs + "--out out.mp4 --events nowhere/events", "nowhere/events");
    expectRefusal(inputs + "--out out.mp4 --trace nowhere/trace", "nowhere/trace");
}

TEST_F(BadInput, AnOutputThatIsAnInputIsRefusedUnderAnyName) {
    makePlainClip("camera.mp4", "gray", 0.2);
    const auto before = contents(folder / "camera.mp4");
    std::filesystem::create_symlink("camera.mp4", folder / "link.mp4");
    const std::string inputs = "--camera camera.mp4 --deck " + deck + " ";
    for (const std::string out : {"camera.mp4", "./camera.mp4", "link.mp4"})
        expectRefusal(inputs + "--out " + out, "same file");
    expectRefusal(inputs + "--out out.mp4 --events out.mp4", "same file");
    expectRefusal(inputs + "--out out.mp4 --trace camera.mp4", "same file");
    EXPECT_EQ(contents(folder / "camera.mp4"), before);
}

} // namespace
} // namespace lanternfly
