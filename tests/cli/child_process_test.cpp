#include "basekit/broken_pipes.h"
#include "child_process.h"

#include <gtest/gtest.h>

#include <chrono>

namespace panedeck::cli {
namespace {

using std::chrono::seconds;

constexpr char shell[] = "/bin/sh";

TEST(ChildProcess, GivesItsLinesAndItsExitCode) {
    ChildProcess child;
    ASSERT_TRUE(child.start({shell, "-c", "printf 'one\\ntw'; printf 'o\\nrest'; exit 3"}).succeeded());
    std::string line;
    ASSERT_TRUE(child.read_line(line, seconds(10)).succeeded());
    EXPECT_EQ(line, "one");
    ASSERT_TRUE(child.read_line(line, seconds(10)).succeeded());
    EXPECT_EQ(line, "two");
    EXPECT_EQ(child.read_line(line, seconds(10)).message(), "sh ended early");
    child.stop();
    EXPECT_EQ(child.exit_code(), 3);
    EXPECT_EQ(child.ending(), "exited with 3");
}

TEST(ChildProcess, StopsByRequestOrByForce) {
    const struct {
        const char* script;
        const char* ending;
    } cases[] = {
        {"trap 'exit 0' TERM; echo ready; while :; do sleep 0.01; done", "exited with 0"},
        {"trap '' TERM; echo ready; while :; do sleep 0.01; done", "was killed by signal 9"},
    };
    for (const auto& entry : cases) {
        ChildProcess child;
        ASSERT_TRUE(child.start({shell, "-c", entry.script}).succeeded());
        std::string line;
        ASSERT_TRUE(child.read_line(line, seconds(10)).succeeded());
        EXPECT_TRUE(child.is_running());
        EXPECT_EQ(child.ending(), "");
        child.stop(std::chrono::milliseconds(300));
        EXPECT_FALSE(child.is_running());
        EXPECT_EQ(child.ending(), entry.ending);
    }
}

TEST(ChildProcess, DiesOfBrokenPipesThoughItsParentDoesNot) {
    bk2::ignore_broken_pipes();
    ChildProcess child;
    ASSERT_TRUE(child.start({shell, "-c", "kill -PIPE $$; echo alive"}).succeeded());
    std::string line;
    EXPECT_FALSE(child.read_line(line, seconds(10)).succeeded());
    child.stop();
    EXPECT_EQ(child.ending(), "was killed by signal 13");
}

TEST(ChildProcess, SaysWhichProgramIsMissing) {
    ChildProcess child;
    EXPECT_EQ(child.start({"/nowhere/program"}).message(), "/nowhere/program: No such file or directory");
    EXPECT_FALSE(child.is_running());
    EXPECT_FALSE(start_detached("no-such-program-anywhere", "x"));
    EXPECT_TRUE(start_detached("true", "x"));
}

TEST(ChildProcess, SilenceIsAFailureAfterTheWait) {
    ChildProcess child;
    ASSERT_TRUE(child.start({shell, "-c", "read line; sleep 100"}).succeeded());
    std::string line;
    EXPECT_EQ(child.read_line(line, std::chrono::milliseconds(10)).message(), "sh says nothing");
}

} // namespace
} // namespace panedeck::cli
