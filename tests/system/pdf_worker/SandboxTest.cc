// What the helper's sandbox refuses, tried from inside it.
#include <csignal>
#include <cstdio>
#include <fstream>
#include <future>
#include <string>

#include <sys/wait.h>

#include <gtest/gtest.h>

#include "platform/linux/pdf/PdfProtocol.h"
#include "platform/linux/pdf/PdfWorkerProcess.h"
#include "support/DrawnPdf.h"

namespace lanternfly {

namespace {

enum class Outcome { refused, worked, killed, unclear };

struct Probe {
    uint32_t protections = 0;
    Outcome outcome = Outcome::unclear;
};

Probe probe(const std::string& deed, const std::filesystem::path& file) {
    const std::string command =
        std::string("exec ") + LANTERNFLY_SANDBOX_PROBE + " " + deed + " '" + file.string() + "'";
    FILE* output = popen(command.c_str(), "r");
    Probe result;
    if (!output || std::fscanf(output, "%u", &result.protections) != 1)
        ADD_FAILURE() << "the probe said nothing";
    const int status = pclose(output);
    if (WIFSIGNALED(status))
        result.outcome = WTERMSIG(status) == SIGSYS ? Outcome::killed : Outcome::unclear;
    else if (WEXITSTATUS(status) == 128 + SIGSYS)
        result.outcome = Outcome::killed;
    else if (WEXITSTATUS(status) <= 1)
        result.outcome = WEXITSTATUS(status) == 0 ? Outcome::refused : Outcome::worked;
    return result;
}

struct Case {
    const char* deed;
    pdfwire::Protection needs;
    Outcome expected;
};

} // namespace

class PdfSandbox : public testing::TestWithParam<Case> {};

TEST_P(PdfSandbox, Holds) {
    const auto& [deed, needs, expected] = GetParam();
    const test::TemporaryFolder folder;
    const auto file = folder.write("secret.txt", "secret");
    const auto result = probe(deed, file);
    if ((result.protections & needs) == 0)
        GTEST_SKIP() << "this system does not provide protection " << needs;
#if defined(__SANITIZE_ADDRESS__)
    if (std::string(deed) == "take-memory") GTEST_SKIP() << "no memory limit with a sanitizer";
#endif
    EXPECT_EQ(result.outcome, expected);
    EXPECT_TRUE(std::filesystem::exists(file));
}

INSTANTIATE_TEST_SUITE_P(
    Deeds, PdfSandbox,
    testing::Values(
        Case{"socket", pdfwire::callsHold, Outcome::killed},
        Case{"fork", pdfwire::callsHold, Outcome::killed},
        Case{"exec", pdfwire::callsHold, Outcome::killed},
        Case{"trace", pdfwire::callsHold, Outcome::killed},
        Case{"signal-parent", pdfwire::callsHold, Outcome::killed},
        Case{"write-file", pdfwire::callsHold, Outcome::killed},
        Case{"create-file", pdfwire::callsHold, Outcome::killed},
        Case{"remove-file", pdfwire::callsHold, Outcome::killed},
        Case{"make-code", pdfwire::callsHold, Outcome::killed},
        Case{"raise-limit", pdfwire::callsHold, Outcome::killed},
        Case{"read-file", pdfwire::filesHold, Outcome::refused},
        Case{"list-root", pdfwire::filesHold, Outcome::refused},
        Case{"take-memory", pdfwire::limitsHold, Outcome::refused},
        // What it must be able to do, so that the others are refused for their own sake.
        Case{"read-font-folder", pdfwire::filesHold, Outcome::worked}),
    [](const auto& instance) {
        std::string name = instance.param.deed;
        for (auto at = name.find('-'); at != std::string::npos; at = name.find('-'))
            name.replace(at, 1, "_");
        return name;
    });

TEST(PdfWorker, HoldsNothingOfItsHost) {
    const auto process = PdfWorkerProcess::start(findPdfWorker());
    ASSERT_TRUE(process);
    pdfwire::Message message;
    ASSERT_EQ(
        process->receive(message, std::chrono::steady_clock::now() + std::chrono::seconds(20)),
        PdfWorkerProcess::Received::message);
    const auto folder = "/proc/" + std::to_string(process->pid());

    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(folder + "/fd", error)) {
        const auto target = std::filesystem::read_symlink(entry.path(), error).string();
        EXPECT_TRUE(std::stoi(entry.path().filename()) <= pdfwire::channelDescriptor)
            << entry.path() << " is " << target;
    }
    std::ifstream environment(folder + "/environ");
    EXPECT_EQ(environment.peek(), std::ifstream::traits_type::eof());

    const auto hello = pdfwire::decodeReply(message.view());
    ASSERT_TRUE(hello && std::holds_alternative<pdfwire::HelloReply>(*hello));
    const auto protections = std::get<pdfwire::HelloReply>(*hello).protections;
    std::ifstream status(folder + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("NoNewPrivs:")) {
            EXPECT_EQ(line, "NoNewPrivs:\t1");
        }
        if (line.starts_with("Seccomp:") && (protections & pdfwire::callsHold)) {
            EXPECT_EQ(line, "Seccomp:\t2");
        }
    }
}

} // namespace lanternfly
