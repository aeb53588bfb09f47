#include "app/control/ControlServer.h"

#include <fstream>
#include <thread>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

#include "app/CommandError.h"
#include "app/control/LineBuffer.h"
#include "support/LoopRunner.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

using test::runUntil;
using testing::HasSubstr;
using testing::StartsWith;

// A client that is not of ours.
class RawClient {
public:
    explicit RawClient(const std::filesystem::path& socket)
        : _connection(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socket.native().copy(address.sun_path, sizeof address.sun_path - 1);
        _isConnected = connect(_connection.get(), reinterpret_cast<const sockaddr*>(&address),
                               sizeof address) == 0;
    }
    bool isConnected() const { return _isConnected; }
    void say(const std::string& bytes) const {
        send(_connection.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }
    void sayNoMore() const { shutdown(_connection.get(), SHUT_WR); }
    // What has come until now.
    const std::string& heard() {
        char piece[4096];
        ssize_t size;
        while ((size = recv(_connection.get(), piece, sizeof piece, MSG_DONTWAIT)) > 0)
            _heard.append(piece, static_cast<size_t>(size));
        _hasEnded = size == 0;
        return _heard;
    }
    bool hasEnded() { return heard(), _hasEnded; }

private:
    UniqueFd _connection;
    bool _isConnected = false;
    bool _hasEnded = false;
    std::string _heard;
};

struct ControlServerTest : testing::Test {
    test::TemporaryFolder folder;
    const std::filesystem::path socket = folder / "run" / "control.sock";
    EventLoop loop;
    std::vector<std::string> lines;
    std::vector<ControlServer::Reply> waiting;
    std::unique_ptr<ControlServer> server;

    void start() {
        server = std::make_unique<ControlServer>(
            loop, socket, [this](const std::string& line, const ControlServer::Reply& reply) {
                lines.push_back(line);
                if (line == "later")
                    waiting.push_back(reply);
                else if (line == "bad")
                    reply(ControlReply::error("no such thing"));
                else
                    reply(ControlReply::ok(line == "status" ? "well" : ""));
            });
    }
    // As lanternfly send does it.
    ControlReply ask(const std::string& line) {
        std::optional<ControlReply> reply;
        std::jthread client([&] {
            auto answer = askShow(socket, line);
            loop.post([&, answer] { reply = answer; });
        });
        EXPECT_TRUE(runUntil(loop, [&] { return reply.has_value(); }));
        return reply.value_or(ControlReply{});
    }
    bool hears(RawClient& client, const std::string& all) {
        return runUntil(loop, [&] { return client.heard() == all; });
    }
};

TEST_F(ControlServerTest, AnswersWhatItIsAsked) {
    start();
    EXPECT_TRUE(ask("next-page").isOk);
    EXPECT_EQ(ask("status").text, "well");
    const auto refused = ask("bad");
    EXPECT_FALSE(refused.isOk);
    EXPECT_EQ(refused.text, "no such thing");
    EXPECT_THAT(lines, testing::ElementsAre("next-page", "status", "bad"));
}

TEST_F(ControlServerTest, OnlyItsUserMayTalkToIt) {
    start();
    struct stat status {};
    ASSERT_EQ(stat(socket.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
    ASSERT_EQ(stat(socket.parent_path().c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0700u);
}

TEST_F(ControlServerTest, AFolderThatIsALinkIsNotTaken) {
    std::filesystem::create_directory(folder / "elsewhere");
    std::filesystem::create_directory_symlink(folder / "elsewhere", folder / "run");
    EXPECT_THROW(start(), CommandError);
}

TEST_F(ControlServerTest, ServesSeveralClientsEachInItsOrder) {
    start();
    RawClient one(socket), other(socket);
    one.say("later\nstatus\n");
    ASSERT_TRUE(runUntil(loop, [&] { return waiting.size() == 1; }));
    other.say("status\nbad\n");
    EXPECT_TRUE(hears(other, "ok well\nerror no such thing\n"));
    EXPECT_EQ(one.heard(), "");
    waiting[0](ControlReply::ok());
    EXPECT_TRUE(hears(one, "ok\nok well\n"));
}

TEST_F(ControlServerTest, ALateAnswerToAClientThatLeftHarmsNobody) {
    start();
    {
        RawClient client(socket);
        client.say("later\n");
        ASSERT_TRUE(runUntil(loop, [&] { return waiting.size() == 1; }));
    }
    waiting[0](ControlReply::ok());
    EXPECT_EQ(ask("status").text, "well");
    server.reset();
    waiting[0](ControlReply::ok());
}

TEST_F(ControlServerTest, ALastLineIsAnsweredWhenTheClientSaysNoMore) {
    start();
    RawClient client(socket);
    client.say("status\n");
    client.sayNoMore();
    EXPECT_TRUE(hears(client, "ok well\n"));
    EXPECT_TRUE(runUntil(loop, [&] { return client.hasEnded(); }));
}

TEST_F(ControlServerTest, TooLongALineEndsItsConnectionOnly) {
    start();
    RawClient hostile(socket), other(socket);
    hostile.say(std::string(3 * LineBuffer::maxLineBytes, 'x'));
    EXPECT_TRUE(runUntil(loop, [&] { return hostile.hasEnded(); }));
    EXPECT_THAT(hostile.heard(), StartsWith("error a line has at most"));
    other.say("status\n");
    EXPECT_TRUE(hears(other, "ok well\n"));
    EXPECT_THAT(lines, testing::ElementsAre("status"));
}

TEST_F(ControlServerTest, GarbageIsALineLikeAnyOther) {
    start();
    RawClient client(socket);
    client.say(std::string("\0\xff\xfe;rm\x1b[2J\n\r\n\n", 13) + "status\n");
    EXPECT_TRUE(hears(client, "ok\nok well\n"));
}

TEST_F(ControlServerTest, TooManyClientsAreTurnedAwayUntilOneLeaves) {
    start();
    std::vector<std::unique_ptr<RawClient>> clients;
    for (size_t i = 0; i < ControlServer::maxClients; ++i) {
        clients.push_back(std::make_unique<RawClient>(socket));
        clients.back()->say("status\n");
        ASSERT_TRUE(hears(*clients.back(), "ok well\n"));
    }
    RawClient late(socket);
    EXPECT_TRUE(runUntil(loop, [&] { return late.hasEnded(); }));
    EXPECT_THAT(late.heard(), StartsWith("error too many programs"));
    clients.pop_back();
    EXPECT_TRUE(runUntil(loop, [&] {
        RawClient another(socket);
        another.say("status\n");
        return runUntil(loop, [&] { return !another.heard().empty(); }) &&
               another.heard() == "ok well\n";
    }));
}

TEST_F(ControlServerTest, WhatADeadServerLeftIsReplaced) {
    std::filesystem::create_directories(socket.parent_path());
    {
        const UniqueFd dead(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        socket.native().copy(address.sun_path, sizeof address.sun_path - 1);
        ASSERT_EQ(bind(dead.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    }
    ASSERT_TRUE(std::filesystem::exists(socket));
    start();
    EXPECT_EQ(ask("status").text, "well");
}

TEST_F(ControlServerTest, ASecondServerIsRefusedAndTheFirstGoesOn) {
    start();
    try {
        const ControlServer second(loop, socket, [](const auto&, const auto&) {});
        FAIL() << "two servers at one place";
    } catch (const CommandError& error) {
        EXPECT_THAT(error.what(), HasSubstr("already"));
    }
    EXPECT_EQ(ask("status").text, "well");
    server.reset();
    EXPECT_FALSE(std::filesystem::exists(socket));
    start();
    EXPECT_EQ(ask("status").text, "well");
}

TEST_F(ControlServerTest, WithoutAServerTheClientSaysWhatToDo) {
    try {
        askShow(socket, "next-page");
        FAIL() << "nobody is there";
    } catch (const CommandError& error) {
        EXPECT_THAT(error.what(), HasSubstr("lanternfly present"));
    }
}

TEST(ControlReply, ReadsWhatItWrites) {
    for (const auto& reply : {ControlReply::ok(), ControlReply::ok("{\"a\": 1}"),
                              ControlReply::error("page 9 is not there")}) {
        std::string line = lineOf(reply);
        ASSERT_TRUE(line.ends_with('\n'));
        line.pop_back();
        const auto read = parseReply(line);
        ASSERT_TRUE(read) << line;
        EXPECT_EQ(read->isOk, reply.isOk);
        EXPECT_EQ(read->text, reply.text);
    }
    EXPECT_EQ(lineOf(ControlReply::error("two\nlines")), "error two lines\n");
    EXPECT_FALSE(parseReply("HTTP/1.1 400 Bad Request"));
    EXPECT_FALSE(parseReply(""));
}

} // namespace
} // namespace lanternfly
