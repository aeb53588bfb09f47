// What every DefaultsStore promises, run on each of them.
#include "platform/DefaultsStore.h"

#include <memory>
#include <set>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/fake/MemoryDefaultsStore.h"
#include "platform/linux/defaults/FileDefaultsStore.h"
#include "support/Files.h"
#include "support/LogCapture.h"
#include "support/TemporaryFolder.h"

namespace lanternfly {
namespace {

class MemoryFixture {
public:
    DefaultsStore& store() { return _store; }
    void makeUnwritable() { _store.makeReadOnly(); }

private:
    MemoryDefaultsStore _store;
};

class FileFixture {
public:
    DefaultsStore& store() { return _store; }
    // A file where the folder should be: also for the superuser nothing can be written there.
    void makeUnwritable() {
        std::filesystem::rename(_folder, _temp.path() / "aside");
        test::writeFile(_folder, "in the way");
    }

private:
    test::TemporaryFolder _temp;
    std::filesystem::path _folder = _temp.path() / "config" / "lanternfly";
    FileDefaultsStore _store{_folder};

public:
    FileFixture() { std::filesystem::create_directories(_folder); }
};

template <typename Fixture>
class DefaultsStoreContract : public testing::Test {
protected:
    DefaultsStore& store() { return fixture.store(); }
    test::LogCapture logs; // what is refused is logged: keep it out of the test's output
    Fixture fixture;
};

using Fixtures = testing::Types<MemoryFixture, FileFixture>;
TYPED_TEST_SUITE(DefaultsStoreContract, Fixtures);

TYPED_TEST(DefaultsStoreContract, NothingIsStoredAtFirst) {
    EXPECT_EQ(this->store().data("key"), std::nullopt);
}

TYPED_TEST(DefaultsStoreContract, WhatIsStoredIsReadBackByteByByte) {
    const std::string bytes("\0\xff{\n\r not JSON", 14);
    EXPECT_TRUE(this->store().set("key", bytes));
    EXPECT_EQ(this->store().data("key"), bytes);
    EXPECT_TRUE(this->store().set("key", ""));
    EXPECT_EQ(this->store().data("key"), "");
}

TYPED_TEST(DefaultsStoreContract, WritingAgainReplacesAndOtherKeysStay) {
    this->store().set("a", "a long first value");
    this->store().set("b", "other");
    EXPECT_TRUE(this->store().set("a", "short"));
    EXPECT_EQ(this->store().data("a"), "short");
    EXPECT_EQ(this->store().data("b"), "other");
}

TYPED_TEST(DefaultsStoreContract, RemovingForgetsTheKeyAndIsNoErrorTwice) {
    this->store().set("key", "value");
    this->store().remove("key");
    this->store().remove("key");
    EXPECT_EQ(this->store().data("key"), std::nullopt);
    EXPECT_TRUE(this->logs.lines().empty());
}

TYPED_TEST(DefaultsStoreContract, AnyTextMayBeAKeyAndNoTwoAreMixedUp) {
    const std::vector<std::string> keys{"",
                                        ".",
                                        "..",
                                        "../escaped",
                                        "/etc/passwd",
                                        "a/b",
                                        "a%2Fb",
                                        "A/B",
                                        std::string("a\0b", 3),
                                        "a",
                                        "A",
                                        ".a",
                                        "%2Ea",
                                        "key.json",
                                        "key",
                                        "line\nbreak",
                                        "snow \xE2\x98\x83",
                                        "\xff\xfe"};
    for (const auto& key : keys)
        EXPECT_TRUE(this->store().set(key, "value of " + key)) << key;
    for (const auto& key : keys)
        EXPECT_EQ(this->store().data(key), "value of " + key) << key;
}

TYPED_TEST(DefaultsStoreContract, AnEnormousKeyIsHandledWhole) {
    const std::string key(100'000, 'k');
    const bool isStored = this->store().set(key, "value");
    EXPECT_EQ(this->store().data(key).has_value(), isStored);
    this->store().remove(key);
    EXPECT_EQ(this->store().data(key), std::nullopt);
}

TYPED_TEST(DefaultsStoreContract, ABlobAboveTheLimitIsRefusedAndTheOldOneStays) {
    const std::string largest(DefaultsStore::maxBlobBytes, 'x');
    EXPECT_TRUE(this->store().set("key", largest));
    EXPECT_FALSE(this->store().set("key", largest + 'x'));
    EXPECT_EQ(this->store().data("key"), largest);
}

TYPED_TEST(DefaultsStoreContract, AStoreThatCannotBeWrittenSaysSo) {
    this->fixture.makeUnwritable();
    EXPECT_FALSE(this->store().set("key", "value"));
    EXPECT_EQ(this->store().data("key"), std::nullopt);
    this->store().remove("key");
}

TYPED_TEST(DefaultsStoreContract, OfManyWritersOneWinsWholeAndReadersNeverSeeAPart) {
    constexpr int writerCount = 4;
    const auto value = [](int writer) {
        return std::string(50'000, static_cast<char>('a' + writer));
    };
    std::set<std::string> whole;
    for (int writer = 0; writer < writerCount; ++writer)
        whole.insert(value(writer));
    this->store().set("key", value(0));

    std::vector<std::thread> writers;
    for (int writer = 0; writer < writerCount; ++writer) {
        writers.emplace_back([&, writer] {
            for (int n = 0; n < 10; ++n)
                EXPECT_TRUE(this->store().set("key", value(writer)));
        });
    }
    for (int n = 0; n < 200; ++n) {
        const auto seen = this->store().data("key");
        ASSERT_TRUE(seen.has_value());
        EXPECT_TRUE(whole.contains(*seen));
    }
    for (auto& writer : writers)
        writer.join();
    EXPECT_TRUE(whole.contains(this->store().data("key").value_or("")));
}

} // namespace
} // namespace lanternfly
