#include "basekit/variant_bag_xml.h"
#include "logkit/component_logger.h"
#include "settingshub/file_lock.h"
#include "settingshub/global_storage.h"
#include "settingshub/product_locations.h"
#include "settingshub/property_storage.h"
#include "support/environment_guard.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace settingshub2 {
namespace {

using bk2::variant_bag_t;
using bk2::variant_t;
using panedeck::tests::TemporaryFolder;

std::atomic<int> logged_lines{0};

void count_line(logkit1::level_t, std::string_view) {
    ++logged_lines;
}

class PropertyStorageTest : public testing::Test {
protected:
    void SetUp() override {
        logged_lines = 0;
        logkit1::set_log_observer(count_line);
    }
    void TearDown() override { logkit1::set_log_observer(nullptr); }

    bk2::sptr_t<IPropertyStorage> storage() const {
        return IPropertyStorage::open(m_folder.path(), "settings");
    }

    TemporaryFolder m_folder;
};

variant_bag_t bag_with(const char* name, const variant_t& value) {
    variant_bag_t bag;
    bag.put(name, value);
    return bag;
}

variant_t stored(const bk2::sptr_t<IPropertyStorage>& storage, const std::string& bag, const char* name) {
    return storage->readBag(bag, {}).get_variant(name);
}

TEST_F(PropertyStorageTest, KeepsNamedBagsApart) {
    ASSERT_TRUE(storage()->writeBag("a b/c<&>", bag_with("x", "text")).succeeded());
    ASSERT_TRUE(storage()->writeBag("", bag_with("x", true ? 1 : 0)).succeeded());
    ASSERT_TRUE(storage()->writeBag("a b/c<&>", bag_with("x", "newer")).succeeded());
    EXPECT_EQ(stored(storage(), "a b/c<&>", "x"), variant_t("newer"));
    EXPECT_EQ(stored(storage(), "", "x").tag(), bk2::vt_s32);
    ASSERT_TRUE(storage()->writeBag("", {}).succeeded());
    EXPECT_TRUE(storage()->readBag("", bag_with("x", 1)).is_empty()) << "stored as empty, not absent";
}

TEST_F(PropertyStorageTest, SubStoragesAreFilesOfTheirOwnWhateverTheirNames) {
    std::string long_name;
    for (int i = 0; i < 199; ++i)
        long_name += "\u00e4";
    const std::string names[] = {"sub",    "SUB",    "../sub",        "a/b",          ".",
                                 "\xff\n", "sub%2F", long_name + "a", long_name + "b"};
    int number = 0;
    for (const std::string& name : names) {
        ASSERT_TRUE(storage()->getSubStorage(name)->writeBag("bag", bag_with("n", number++)).succeeded());
    }
    number = 0;
    for (const std::string& name : names) {
        EXPECT_EQ(stored(storage()->getSubStorage(name), "bag", "n"), variant_t(number++)) << name;
    }
    for (const auto& entry : std::filesystem::directory_iterator(m_folder.path())) {
        EXPECT_EQ(entry.path().filename(), "settings") << "nothing is written beside the storage's folder";
    }
    EXPECT_FALSE(storage()->getSubStorage(""));
    EXPECT_FALSE(storage()->getSubStorage(std::string(201, 'x')));
}

TEST_F(PropertyStorageTest, ADamagedFileReadsAsEmptyAndIsKeptAside) {
    const std::string path = m_folder / "settings.xml";
    std::ofstream(path) << "<storage><half";
    EXPECT_EQ(stored(storage(), "bag", "x"), variant_t());
    EXPECT_EQ(logged_lines, 1);
    ASSERT_TRUE(storage()->writeBag("bag", bag_with("x", 1)).succeeded());
    EXPECT_EQ(stored(storage(), "bag", "x"), variant_t(1));
    std::string aside;
    std::getline(std::ifstream(path + ".damaged"), aside);
    EXPECT_EQ(aside, "<storage><half");
}

TEST_F(PropertyStorageTest, AFolderThatIsAFileFailsWithItsName) {
    std::ofstream(m_folder / "settings") << "in the way";
    const auto result = storage()->getSubStorage("sub")->writeBag("bag", bag_with("x", 1));
    EXPECT_TRUE(result.failed());
    EXPECT_NE(result.message().find("settings"), std::string_view::npos);
}

TEST_F(PropertyStorageTest, ConcurrentWritersInTwoProcessesLoseNothing) {
    constexpr int writers =
        3; // one in a process of its own, which starts no thread: not all tools allow that
    constexpr int rounds = 25;
    const auto write_all = [this](int writer) {
        for (int round = 0; round < rounds; ++round) {
            const std::string own = "own" + std::to_string(writer);
            EXPECT_TRUE(storage()->writeBag(own, bag_with("round", round)).succeeded());
            EXPECT_TRUE(storage()
                            ->changeBag("shared",
                                        [](variant_bag_t& bag) {
                                            bag.put("count",
                                                    variant_t(bag.get_variant("count", 0).get<int>() + 1));
                                        })
                            .succeeded());
        }
    };
    const pid_t child = ::fork();
    if (child == 0) {
        write_all(0);
        ::_exit(testing::Test::HasFailure() ? 1 : 0);
    }
    std::thread second(write_all, 1);
    write_all(2);
    second.join();
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    for (int writer = 0; writer < writers; ++writer) {
        EXPECT_EQ(stored(storage(), "own" + std::to_string(writer), "round"), variant_t(rounds - 1));
    }
    EXPECT_EQ(stored(storage(), "shared", "count"), variant_t(writers * rounds));
}

TEST_F(PropertyStorageTest, ALockHeldElsewhereIsAFailureAfterTheWait) {
    const std::string path = m_folder / "some.lock";
    const file_lock_t holder(path);
    ASSERT_TRUE(holder.result().succeeded());
    const file_lock_t other(path, std::chrono::milliseconds(1));
    EXPECT_EQ(other.result().message(), path + ": another program holds the lock");
}

TEST_F(PropertyStorageTest, TheGlobalStorageFollowsTheUserDirectory) {
    const auto locations = IProductLocations::get();
    locations->setUserDirectory(m_folder / "user/");
    EXPECT_EQ(locations->getUserDirectory(), m_folder / "user");
    ASSERT_TRUE(IGlobalStorage::get()->getSubStorage("pages")->writeBag("bag", bag_with("x", 1)).succeeded());
    EXPECT_TRUE(std::filesystem::exists(m_folder / "user/global/pages.xml"));
    locations->setUserDirectory("");

    const panedeck::tests::EnvironmentGuard home("HOME");
    const panedeck::tests::EnvironmentGuard configuration_home("XDG_CONFIG_HOME");
    const std::pair<const char*, std::string> environments[] = {
        {"/somewhere", "/somewhere/panedeck"},
        {"relative", "/home/of/user/.config/panedeck"},
        {"", "/home/of/user/.config/panedeck"}};
    ::setenv("HOME", "/home/of/user", 1);
    for (const auto& [configuration, expected] : environments) {
        ::setenv("XDG_CONFIG_HOME", configuration, 1);
        EXPECT_EQ(locations->getUserDirectory(), expected);
    }
    ::unsetenv("HOME");
    EXPECT_FALSE(IGlobalStorage::get());
}

} // namespace
} // namespace settingshub2
