// What only the store of files can get wrong.
#include "platform/linux/defaults/FileDefaultsStore.h"

#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

namespace fs = std::filesystem;

class FileDefaultsStoreTest : public testing::Test {
protected:
    size_t fileCount(const fs::path& in) const {
        return static_cast<size_t>(std::distance(fs::recursive_directory_iterator(in), {}));
    }
    test::LogCapture logs;
    test::TemporaryFolder temp;
    fs::path folder = temp.path() / "config" / "lanternfly";
    FileDefaultsStore store{folder};
};

TEST_F(FileDefaultsStoreTest, ReadingMakesNothingAndWritingMakesTheFolder) {
    EXPECT_EQ(store.data("key"), std::nullopt);
    EXPECT_FALSE(fs::exists(folder));
    EXPECT_TRUE(store.set("lanternfly.defaults.tilt", "{}"));
    EXPECT_EQ(test::readFile(folder / "lanternfly.defaults.tilt.json"), "{}");
    EXPECT_TRUE(logs.lines().empty());
}

TEST_F(FileDefaultsStoreTest, AnotherStoreOfTheSameFolderReadsTheSame) {
    store.set("key", "value");
    EXPECT_EQ(FileDefaultsStore(folder).data("key"), "value");
}

TEST_F(FileDefaultsStoreTest, NoTemporaryFileIsLeftBehind) {
    store.set("key", "one");
    store.set("key", "two");
    EXPECT_EQ(fileCount(folder), 1u);
}

TEST_F(FileDefaultsStoreTest, AFailedWriteLeavesNoTemporaryFileEither) {
    fs::create_directories(folder / "key.json"); // a folder in the place of the file
    EXPECT_FALSE(store.set("key", "value"));
    EXPECT_EQ(fileCount(folder), 1u);
    EXPECT_EQ(logs.lines().size(), 1u);
}

TEST_F(FileDefaultsStoreTest, HostileKeysStayInsideTheFolder) {
    for (const char* key : {"../out", "/tmp/out", "..", "a/../../../out"})
        EXPECT_TRUE(store.set(key, "value")) << key;
    EXPECT_EQ(fileCount(folder), 4u);
    EXPECT_EQ(fileCount(temp.path()), 6u); // the four and the two folders that they are in
}

TEST_F(FileDefaultsStoreTest, OnlyTheUserCanReadTheFiles) {
    store.set("key", "value");
    struct stat status {};
    ASSERT_EQ(::stat((folder / "key.json").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);
}

TEST_F(FileDefaultsStoreTest, AnOversizedFileIsNotRead) {
    fs::create_directories(folder);
    test::writeFile(folder / "key.json", std::string(DefaultsStore::maxBlobBytes + 1, ' '));
    EXPECT_EQ(store.data("key"), std::nullopt);
    EXPECT_EQ(logs.lines().size(), 1u);
}

TEST_F(FileDefaultsStoreTest, APipeInTheFilesPlaceDoesNotHang) {
    fs::create_directories(folder);
    ASSERT_EQ(::mkfifo((folder / "key.json").c_str(), 0600), 0);
    EXPECT_EQ(store.data("key"), std::nullopt);
}

TEST_F(FileDefaultsStoreTest, ALinkInTheFilesPlaceIsReplacedAndItsTargetSpared) {
    fs::create_directories(folder);
    test::writeFile(temp.path() / "target", "precious");
    fs::create_symlink(temp.path() / "target", folder / "key.json");
    EXPECT_EQ(store.data("key"), "precious");
    EXPECT_TRUE(store.set("key", "value"));
    EXPECT_EQ(test::readFile(temp.path() / "target"), "precious");
    EXPECT_EQ(store.data("key"), "value");
}

TEST_F(FileDefaultsStoreTest, AFolderWithoutWritePermissionIsRefused) {
    if (::geteuid() == 0) GTEST_SKIP() << "the superuser may write anywhere";
    fs::create_directories(folder);
    fs::permissions(folder, fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_FALSE(store.set("key", "value"));
    fs::permissions(folder, fs::perms::owner_all);
    EXPECT_EQ(fileCount(folder), 0u);
}

} // namespace
} // namespace lanternfly
