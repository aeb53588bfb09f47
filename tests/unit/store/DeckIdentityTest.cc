#include "store/DeckIdentity.h"

#include <cstdio>
#include <memory>

#include <fcntl.h>
#include <sys/stat.h>

#include <gtest/gtest.h>

#include "store/FileURL.h"
#include "support/Files.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

class DeckIdentityTest : public testing::Test {
protected:
    void touch(const std::filesystem::path& path, int64_t seconds, int64_t nanos = 0) {
        const timespec times[] = {{seconds, nanos}, {seconds, nanos}};
        ASSERT_EQ(::utimensat(AT_FDCWD, path.c_str(), times, 0), 0);
    }
    std::string identity(const std::filesystem::path& path) {
        return DeckIdentity::hash(fileURL(path).value()).value_or("none");
    }
    test::TemporaryFolder folder;
    std::filesystem::path deck = folder.path() / "deck.pdf";
};

TEST_F(DeckIdentityTest, IsTheStartOfTheDigestOfPathSizeAndTime) {
    test::writeFile(deck, "12345");
    touch(deck, 1'700'000'000, 999'999'999);
    const auto key = deck.string() + "|5|1700000000";
    const auto command = "printf %s '" + key + "' | sha256sum";
    const std::unique_ptr<FILE, int (*)(FILE*)> sum(popen(command.c_str(), "r"), pclose);
    ASSERT_TRUE(sum);
    char digits[17] = {};
    ASSERT_EQ(fread(digits, 1, 16, sum.get()), 16u);
    EXPECT_EQ(identity(deck), digits);
}

TEST_F(DeckIdentityTest, ContentsDoNotCountButSizeTimeAndPlaceDo) {
    test::writeFile(deck, "12345");
    touch(deck, 1000);
    const auto first = identity(deck);
    test::writeFile(deck, "abcde");
    touch(deck, 1000, 500);
    EXPECT_EQ(identity(deck), first);

    touch(deck, 1001);
    EXPECT_NE(identity(deck), first);
    test::writeFile(deck, "123456");
    touch(deck, 1000);
    EXPECT_NE(identity(deck), first);

    test::writeFile(deck, "12345");
    touch(deck, 1000);
    std::filesystem::rename(deck, folder.path() / "moved.pdf");
    EXPECT_NE(identity(folder.path() / "moved.pdf"), first);
}

TEST_F(DeckIdentityTest, TimesBefore1970AreCutTowardZero) {
    test::writeFile(deck, "");
    touch(deck, -1, 500'000'000); // half a second before
    const auto beforeZero = identity(deck);
    touch(deck, 0);
    EXPECT_EQ(identity(deck), beforeZero);
}

TEST_F(DeckIdentityTest, TheSamePlaceSpeltOtherwiseIsTheSame) {
    test::writeFile(deck, "12345");
    const auto expected = identity(deck);
    EXPECT_EQ(DeckIdentity::hash("file://" + folder.path().string() + "/./x/../deck.pdf"),
              expected);
    EXPECT_EQ(DeckIdentity::hash("file://localhost" + folder.path().string() + "/deck%2Epdf"),
              expected);
}

TEST_F(DeckIdentityTest, WhatIsNoFileHasNoIdentity) {
    EXPECT_FALSE(DeckIdentity::hash("https://example.org/deck.pdf"));
    EXPECT_FALSE(DeckIdentity::hash("file:///no/such/deck.pdf"));
    EXPECT_FALSE(DeckIdentity::hash(deck.string()));
    EXPECT_FALSE(DeckIdentity::hash(""));
}

} // namespace
} // namespace lanternfly
