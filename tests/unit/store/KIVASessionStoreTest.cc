#include "store/KIVASessionStore.h"

#include <functional>
#include <regex>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "store/LanternflyLoadDestination.h"
#include "support/Environment.h"
#include "support/Files.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;
using Kind = StoreError::Kind;
using testing::ElementsAre;

class KIVASessionStoreTest : public testing::Test {
protected:
    // The error that `body` throws; fails the test when it throws none.
    static StoreError thrown(const std::function<void()>& body) {
        try {
            body();
        } catch (const StoreError& error) {
            return error;
        }
        ADD_FAILURE() << "nothing was thrown";
        return {Kind::readFailed, {}, {}};
    }
    static Manifest manifest(std::string id) {
        Manifest made{.sessionID = std::move(id)};
        made.layers.push_back(Layer::lanternflyOnDeck(
            WindowContent::Deck{"file:///a.pdf", "0123456789abcdef", 3}, Layer::localCreatorID));
        return made;
    }

    test::TemporaryFolder temp;
    test::ScopedVariable dataHome{"XDG_DATA_HOME", temp.path().string()};
    fs::path sessions = temp.path() / "Lanternfly" / "sessions";
};

TEST_F(KIVASessionStoreTest, TheSessionsFolderIsMadeInTheDataFolder) {
    EXPECT_EQ(KIVASessionStore::sessionsDirectory(), sessions);
    EXPECT_TRUE(fs::is_directory(sessions));
    EXPECT_EQ(KIVASessionStore::defaultURL("abc"), sessions / "abc.kiva");
}

TEST_F(KIVASessionStoreTest, ADataFolderThatIsNotAbsoluteIsNotUsed) {
    const test::ScopedVariable relative("XDG_DATA_HOME", "data");
    const test::ScopedVariable home("HOME", temp.path().string());
    EXPECT_EQ(KIVASessionStore::sessionsDirectory(),
              temp.path() / ".local/share/Lanternfly/sessions");
}

TEST_F(KIVASessionStoreTest, AFolderThatCannotBeMadeIsReported) {
    test::writeFile(temp.path() / "Lanternfly", "in the way");
    const auto error = thrown([] { KIVASessionStore::sessionsDirectory(); });
    EXPECT_EQ(error.kind, Kind::directoryCreateFailed);
    EXPECT_EQ(error.path, sessions);
    EXPECT_EQ(error.what(), "KIVASessionStore: failed to create directory at " + sessions.string() +
                                ": Not a directory");
}

TEST_F(KIVASessionStoreTest, WhatIsWrittenIsReadBack) {
    const auto file = KIVASessionStore::defaultURL("one");
    KIVASessionStore::write(manifest("one"), file);
    EXPECT_EQ(KIVASessionStore::read(file), manifest("one"));
    KIVASessionStore::write(manifest("two"), file);
    EXPECT_EQ(KIVASessionStore::read(file), manifest("two"));
}

TEST_F(KIVASessionStoreTest, ErrorsNameTheFileAndItsReason) {
    const auto missing = temp.path() / "missing" / "a.kiva";
    const auto unwritable = thrown([&] { KIVASessionStore::write({}, missing); });
    EXPECT_EQ(unwritable.kind, Kind::writeFailed);
    EXPECT_EQ(unwritable.what(), "KIVASessionStore: failed to write manifest to " +
                                     missing.string() + ": No such file or directory");
    const auto unreadable = thrown([&] { KIVASessionStore::read(missing); });
    EXPECT_EQ(unreadable.kind, Kind::readFailed);
    EXPECT_EQ(unreadable.what(), "KIVASessionStore: failed to read manifest from " +
                                     missing.string() + ": No such file or directory");
}

TEST_F(KIVASessionStoreTest, ADamagedFileIsADecodeError) {
    const auto file = KIVASessionStore::defaultURL("damaged");
    test::writeFile(file, R"({"format":"other"})");
    const auto error = thrown([&] { KIVASessionStore::read(file); });
    EXPECT_EQ(error.kind, Kind::decodeFailed);
    EXPECT_EQ(error.path, file);
    EXPECT_EQ(error.what(), "KIVASessionStore: failed to decode manifest from " + file.string() +
                                ": " + error.underlying);
}

TEST_F(KIVASessionStoreTest, AManifestThatCannotBeEncodedLeavesTheFileAlone) {
    const auto file = KIVASessionStore::defaultURL("one");
    KIVASessionStore::write(manifest("one"), file);
    const auto error = thrown([&] { KIVASessionStore::write(manifest("\xff"), file); });
    EXPECT_EQ(error.kind, Kind::encodeFailed);
    EXPECT_EQ(error.what(), "KIVASessionStore: failed to encode manifest: " + error.underlying);
    EXPECT_EQ(KIVASessionStore::read(file), manifest("one"));
}

TEST_F(KIVASessionStoreTest, ListingMatchesTheExtensionExactlyAndSkipsHiddenFiles) {
    for (const char* name : {"a.kiva", "b.KIVA", ".c.kiva", "d.txt", "kiva"})
        test::writeFile(KIVASessionStore::sessionsDirectory() / name, "");
    EXPECT_THAT(KIVASessionStore::listSessionIDs(), ElementsAre("a"));
}

TEST_F(KIVASessionStoreTest, ListingIsSorted) {
    for (const char* id : {"b", "a.2", "B", "a"})
        KIVASessionStore::write(manifest(id), KIVASessionStore::defaultURL(id));
    EXPECT_THAT(KIVASessionStore::listSessionIDs(), ElementsAre("B", "a", "a.2", "b"));
}

TEST_F(KIVASessionStoreTest, AnEmptyFolderHasNoSessions) {
    EXPECT_TRUE(KIVASessionStore::listSessionIDs().empty());
}

TEST_F(KIVASessionStoreTest, RemovingASessionThatDoesNotExistSucceeds) {
    EXPECT_NO_THROW(KIVASessionStore::remove("nothing"));
    KIVASessionStore::write(manifest("a"), KIVASessionStore::defaultURL("a"));
    KIVASessionStore::remove("a");
    EXPECT_TRUE(KIVASessionStore::listSessionIDs().empty());
}

TEST_F(KIVASessionStoreTest, ASessionThatCannotBeRemovedIsReported) {
    fs::create_directories(KIVASessionStore::defaultURL("a") / "inside");
    const auto error = thrown([] { KIVASessionStore::remove("a"); });
    EXPECT_EQ(error.kind, Kind::writeFailed);
    EXPECT_EQ(error.path, sessions / "a.kiva");
}

TEST_F(KIVASessionStoreTest, IdsThatAreNoFileNamesNeverLeaveTheFolder) {
    test::writeFile(temp.path() / "victim.kiva", "precious");
    for (const std::string id : {"", ".", "..", "../../victim", "/etc/passwd", "a/b"}) {
        EXPECT_EQ(thrown([&] { KIVASessionStore::defaultURL(id); }).kind, Kind::writeFailed) << id;
        EXPECT_EQ(thrown([&] { KIVASessionStore::remove(id); }).kind, Kind::writeFailed) << id;
    }
    EXPECT_EQ(test::readFile(temp.path() / "victim.kiva"), "precious");
}

TEST_F(KIVASessionStoreTest, NewIdsHaveTheirShapeAndDiffer) {
    const auto id = newSessionID();
    EXPECT_TRUE(std::regex_match(id, std::regex("lfy_session_[0-9a-f]{32}"))) << id;
    EXPECT_NE(id, newSessionID());
}

TEST(LanternflyLoadDestination, LoadsAreStagedUnlessShiftIsHeld) {
    EXPECT_EQ(resolveStagedLoadDestination(true), LanternflyLoadDestination::live);
    EXPECT_EQ(resolveStagedLoadDestination(false), LanternflyLoadDestination::onDeck);
    EXPECT_EQ(static_cast<int>(LanternflyLoadDestination::live), 0);
    EXPECT_EQ(static_cast<int>(LanternflyLoadDestination::onDeck), 1);
}

} // namespace
} // namespace lanternfly
