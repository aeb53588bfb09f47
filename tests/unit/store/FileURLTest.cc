#include "store/FileURL.h"

#include <gtest/gtest.h>

namespace lanternfly {
namespace {

TEST(FileURL, PathsBecomeUrlsAndComeBack) {
    EXPECT_EQ(fileURL("/decks/A deck?.pdf"), "file:///decks/A%20deck%3F.pdf");
    for (const char* path : {"/", "/a", "/a b/#1%20", "/snow \xE2\x98\x83.usdz", "/bad \xff byte"})
        EXPECT_EQ(filePath(fileURL(path).value_or("")), path) << path;
}

TEST(FileURL, OnlyAbsolutePathsHaveOne) {
    EXPECT_FALSE(fileURL("deck.pdf"));
    EXPECT_FALSE(fileURL(""));
}

TEST(FileURL, PathsAreBroughtToTheirPlainForm) {
    EXPECT_EQ(filePath("file:///a/./b/../c.pdf"), "/a/c.pdf");
    EXPECT_EQ(filePath("file:///a/folder/"), "/a/folder");
    EXPECT_EQ(filePath("file://localhost/a"), "/a");
}

TEST(FileURL, OtherTextsHaveNoPath) {
    using namespace std::string_view_literals;
    for (const auto url : {""sv, "/a"sv, "https://example.org/a"sv, "file://other.host/a"sv,
                           "file:///a%00b"sv, "file:///a\0b"sv, "file:///a%2"sv, "file:"sv})
        EXPECT_FALSE(filePath(url)) << url;
}

} // namespace
} // namespace lanternfly
