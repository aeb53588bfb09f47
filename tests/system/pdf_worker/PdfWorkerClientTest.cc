// The host's side against helpers that misbehave: a page may be lost, nothing else.
#include "platform/linux/pdf/PdfWorkerClient.h"

#include <cerrno>
#include <csignal>
#include <filesystem>

#include <fcntl.h>
#include <sys/wait.h>

#include <gtest/gtest.h>

#include "support/DrawnPdf.h"
#include "support/LogCapture.h"

namespace lanternfly {

namespace {

using Kind = PdfError::Kind;
namespace fs = std::filesystem;

size_t openDescriptors() {
    return static_cast<size_t>(
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator{}));
}

bool hasChildren() {
    siginfo_t info{};
    return !(waitid(P_ALL, 0, &info, WEXITED | WNOHANG | WNOWAIT) < 0 && errno == ECHILD);
}

class PdfWorkerClientTest : public testing::Test {
protected:
    void SetUp() override {
        _descriptorsBefore = openDescriptors();
        _file = _folder.write("deck.pdf", "%PDF-1.7\n");
    }
    void TearDown() override {
        EXPECT_EQ(openDescriptors(), _descriptorsBefore) << "descriptors leaked";
        EXPECT_FALSE(hasChildren()) << "a helper was not collected";
    }

    PdfWorkerClient client(const std::string& mode) {
        const auto link = _folder.path() / mode;
        fs::remove(link);
        fs::create_symlink(LANTERNFLY_HOSTILE_WORKER, link);
        using std::chrono::milliseconds;
        // Short where the helper is to be given up, ample where it is to be waited for.
        const bool hangs = mode.starts_with("hangs") || mode.starts_with("never");
        const milliseconds limit{hangs ? 300 : 20'000};
        return {UniqueFd(open(_file.c_str(), O_RDONLY | O_CLOEXEC)),
                _file,
                {link, limit, limit, limit}};
    }

    static std::optional<Kind> openFailure(PdfWorkerClient& opened) {
        try {
            opened.open();
            return std::nullopt;
        } catch (const PdfError& error) {
            return error.kind();
        }
    }
    static std::optional<Kind> pageFailure(PdfWorkerClient& opened, int index) {
        try {
            const auto picture = opened.renderPage(index, 40, 40);
            EXPECT_EQ(picture->width(), 40);
            EXPECT_EQ(picture->height(), 30);
            return std::nullopt;
        } catch (const PdfError& error) {
            EXPECT_NE(std::string(error.what()).find("Page " + std::to_string(index + 1)),
                      std::string::npos)
                << error.what();
            return error.kind();
        }
    }

private:
    test::TemporaryFolder _folder;
    fs::path _file;
    size_t _descriptorsBefore = 0;
};

} // namespace

TEST_F(PdfWorkerClientTest, SaysWhenTheHelperIsNotThere) {
    const test::LogCapture log;
    PdfWorkerClient missing(UniqueFd(), "deck.pdf", {"/nonexistent/worker"});
    EXPECT_EQ(openFailure(missing), Kind::rendererFailed);
    EXPECT_TRUE(log.contains("Cannot start the PDF helper /nonexistent/worker: "
                             "No such file or directory"));
}

TEST_F(PdfWorkerClientTest, FailsToOpenWithHelpersThatDoNotStart) {
    const test::LogCapture log;
    for (const auto& [mode, kind] : {std::pair{"exits", Kind::rendererFailed},
                                     {"never-speaks", Kind::rendererTimeout},
                                     {"other-version", Kind::rendererFailed},
                                     {"hangs-opening", Kind::rendererTimeout},
                                     {"too-many-pages", Kind::rendererFailed},
                                     {"no-pages", Kind::noPages}}) {
        auto opened = client(mode);
        EXPECT_EQ(openFailure(opened), kind) << mode;
        EXPECT_EQ(opened.workerPid(), 0) << mode;
    }
}

TEST_F(PdfWorkerClientTest, LosesOnlyThePageThatTheHelperDiesOn) {
    const test::LogCapture log;
    for (const auto* mode : {"dies-on-page-2", "dies-measuring-page-2"}) {
        auto opened = client(mode);
        ASSERT_EQ(opened.open(), 3);
        const auto firstPid = opened.workerPid();
        EXPECT_EQ(pageFailure(opened, 0), std::nullopt);
        EXPECT_EQ(pageFailure(opened, 1), Kind::rendererFailed);
        EXPECT_EQ(opened.workerPid(), 0);
        EXPECT_EQ(pageFailure(opened, 2), std::nullopt);
        EXPECT_NE(opened.workerPid(), firstPid);
        EXPECT_EQ(pageFailure(opened, 0), std::nullopt);
    }
}

TEST_F(PdfWorkerClientTest, GivesUpAPageThatTakesTooLong) {
    const test::LogCapture log;
    auto opened = client("hangs-on-page-2");
    ASSERT_EQ(opened.open(), 3);
    EXPECT_EQ(pageFailure(opened, 1), Kind::rendererTimeout);
    EXPECT_EQ(pageFailure(opened, 2), std::nullopt);
    const auto lines = log.lines();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_NE(lines[0].message.find("it took too long (killed by signal 9 (Killed))"),
              std::string::npos)
        << lines[0].message;
}

TEST_F(PdfWorkerClientTest, StartsAnotherHelperWhenTheLastEndedBetweenPages) {
    const test::LogCapture log;
    auto opened = client("well-behaved");
    ASSERT_EQ(opened.open(), 3);
    const pid_t pid = opened.workerPid();
    ASSERT_EQ(kill(pid, SIGKILL), 0);
    siginfo_t info{};
    ASSERT_EQ(waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT), 0);
    EXPECT_EQ(pageFailure(opened, 0), std::nullopt);
    EXPECT_NE(opened.workerPid(), pid);
    EXPECT_TRUE(log.lines().empty());
}

TEST_F(PdfWorkerClientTest, BelievesNoImpossibleAnswer) {
    const test::LogCapture log;
    for (const auto& [mode, kind] : {std::pair{"babbles", Kind::rendererFailed},
                                     {"answers-something-else", Kind::rendererFailed},
                                     {"closes-and-lives", Kind::rendererFailed},
                                     {"page-of-nan", Kind::rendererFailed},
                                     {"absurd-page", Kind::pageRefused},
                                     {"page-without-area", Kind::pageRefused}}) {
        auto opened = client(mode);
        ASSERT_EQ(opened.open(), 3) << mode;
        EXPECT_EQ(pageFailure(opened, 0), kind) << mode;
        EXPECT_EQ(pageFailure(opened, 2), kind) << mode;
    }
}

TEST_F(PdfWorkerClientTest, CannotBeMadeToFaultByShrinkingTheSharedMemory) {
    auto opened = client("shrinks-buffer");
    ASSERT_EQ(opened.open(), 3);
    EXPECT_EQ(pageFailure(opened, 0), std::nullopt);
}

TEST_F(PdfWorkerClientTest, TakesNoDescriptorsFromTheHelper) {
    auto opened = client("sends-descriptors");
    ASSERT_EQ(opened.open(), 3);
    const auto before = openDescriptors();
    for (int i = 0; i < 5; ++i)
        EXPECT_EQ(pageFailure(opened, 0), std::nullopt);
    EXPECT_EQ(openDescriptors(), before + 1); // the shared memory
}

TEST_F(PdfWorkerClientTest, TakesThePixelsThatTheHelperDrew) {
    auto opened = client("well-behaved");
    ASSERT_EQ(opened.open(), 3);
    for (int index = 0; index < 3; ++index) {
        const auto picture = opened.renderPage(index, 400 >> index, 300);
        for (int y = 0; y < picture->height(); ++y)
            for (int x = 0; x < picture->width() * 4; ++x)
                ASSERT_EQ(picture->row(y)[x], 0x40 + index);
    }
}

} // namespace lanternfly
