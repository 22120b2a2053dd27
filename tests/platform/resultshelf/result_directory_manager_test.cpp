#include "resultshelf/result_directory_manager.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <fstream>

namespace resultshelf2 {
namespace {

using panedeck::tests::TemporaryFolder;
using Manager = ResultDirectoryManager;

TEST(ResultDirectoryManager, FormsNames) {
    const struct {
        std::string pattern;
        unsigned counter;
        std::string expected;
    } cases[] = {
        {Manager::getDefaultResultDirectoryName() + "{at}", 0, "r000hs"},
        {"r@@@{at}", 7, "r007hs"},
        {"r@@@{at}", 12345, "r12345hs"},
        {"@", 3, "3"},
        {"{at}_{at}@@ run", 1, "hs_hs01 run"},
        {"plain", 4, "plain"},
        {"{at", 4, "{at"},
        {"r@@x@@", 4, "r04x@@"},
    };
    for (const auto& entry : cases) {
        EXPECT_EQ(Manager::formResultDirectoryName(entry.pattern, "hs", entry.counter), entry.expected);
    }
}

TEST(ResultDirectoryManager, ValidatesPatterns) {
    for (const char* good : {"r@@@{at}", "x", " ", "...", "результат @", "{at}", "a:b"}) {
        EXPECT_TRUE(Manager::validateResultDirectoryPattern(good)) << good;
    }
    const std::string bad[] = {"",
                               ".",
                               "..",
                               "a/b",
                               "/",
                               "a\\b",
                               "a\nb",
                               "\x7f",
                               "a\xff",
                               "\tr@@",
                               std::string(201, 'x'),
                               std::string("a\0b", 3)};
    for (const std::string& pattern : bad) {
        EXPECT_FALSE(Manager::validateResultDirectoryPattern(pattern)) << testing::PrintToString(pattern);
    }
}

TEST(ResultDirectoryManager, MakesTheNextDirectory) {
    const TemporaryFolder folder;
    const auto next = [&](const char* pattern) {
        std::string path;
        EXPECT_TRUE(Manager::createNextResultDirectory(folder / "results", pattern, "hs", path).succeeded());
        EXPECT_TRUE(std::filesystem::is_empty(path));
        return std::filesystem::path(path).filename().string();
    };
    EXPECT_EQ(next("r@@@{at}"), "r000hs");
    EXPECT_EQ(next("r@@@{at}"), "r001hs");
    std::filesystem::create_directory(folder / "results/r009other");
    std::ofstream(folder / "results/r010") << "a file counts too";
    std::filesystem::create_directory(folder / "results/rxyz");
    EXPECT_EQ(next("r@@@{at}"), "r011hs");
    EXPECT_EQ(next("mine"), "mine");
    EXPECT_EQ(next("mine"), "mine-1");
    EXPECT_EQ(next("mine"), "mine-2");
}

TEST(ResultDirectoryManager, FailsWithTheReason) {
    const TemporaryFolder folder;
    std::string path = "as it was";
    EXPECT_TRUE(Manager::createNextResultDirectory(folder.path(), "a/b", "hs", path).failed());
    std::ofstream(folder / "file") << "in the way";
    const auto result = Manager::createNextResultDirectory(folder / "file", "r@@@", "hs", path);
    EXPECT_NE(result.message().find(folder / "file"), std::string_view::npos);
    EXPECT_EQ(path, "as it was");
}

} // namespace
} // namespace resultshelf2
