#include "settingshub/whole_file.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cerrno>
#include <csignal>
#include <fstream>
#include <functional>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace settingshub2 {
namespace {

using panedeck::tests::TemporaryFolder;

std::string content_of(const std::string& path) {
    std::string text;
    EXPECT_TRUE(read_whole_file(path, text).succeeded());
    return text;
}

/// How many files are in the folder of `path`.
long files_beside(const std::string& path) {
    return std::distance(std::filesystem::directory_iterator(std::filesystem::path(path).parent_path()), {});
}

/// Lets step `fatal_step` go wrong in the way that `break_step` says; the steps before it are real.
class BreakingOperations : public file_operations_t {
public:
    BreakingOperations(int fatal_step, std::function<void()> break_step)
        : m_steps_left(fatal_step), m_break(std::move(break_step)) {}

    bool is_broken() const { return m_steps_left < 0; }

    int open(const char* path, int flags, mode_t mode) override {
        return breaks() ? -1 : file_operations_t::open(path, flags, mode);
    }
    ssize_t write(int descriptor, const void* data, std::size_t size) override {
        if (!breaks()) return file_operations_t::write(descriptor, data, std::min<std::size_t>(size, 1000));
        return -1;
    }
    int fsync(int descriptor) override { return breaks() ? -1 : file_operations_t::fsync(descriptor); }
    int close(int descriptor) override {
        const int result = file_operations_t::close(descriptor);
        return breaks() ? -1 : result;
    }
    int rename(const char* from, const char* to) override {
        return breaks() ? -1 : file_operations_t::rename(from, to);
    }

private:
    bool breaks() {
        if (m_steps_left-- != 0) return false;
        m_break();
        return true;
    }

    int m_steps_left;
    std::function<void()> m_break;
};

int status_of_child(const std::function<int()>& body) {
    const pid_t child = ::fork();
    if (child == 0) ::_exit(body());
    int status = 0;
    EXPECT_EQ(::waitpid(child, &status, 0), child);
    return status;
}

const std::string old_content(5000, 'o');
const std::string new_content(7000, 'n');

TEST(WholeFile, WritesReadsAndMakesTheFolder) {
    const TemporaryFolder folder;
    const std::string path = folder / "a/b/file.xml";
    ASSERT_TRUE(write_whole_file(path, old_content).succeeded());
    ASSERT_TRUE(write_whole_file(path, new_content).succeeded());
    EXPECT_EQ(content_of(path), new_content);
    EXPECT_EQ(files_beside(path), 1);
}

TEST(WholeFile, FollowsNoLinkAndKeepsTheRightsOfItsUser) {
    const TemporaryFolder folder;
    const std::string path = folder / "file";
    ASSERT_TRUE(write_whole_file(folder / "other", old_content).succeeded());
    std::filesystem::create_symlink(folder / "other", path + ".new");
    std::filesystem::create_symlink(folder / "other", path);
    const mode_t before = ::umask(0002);
    EXPECT_TRUE(write_whole_file(path, new_content).succeeded());
    const auto rights_of = [&] { return static_cast<unsigned>(std::filesystem::status(path).permissions()); };
    EXPECT_EQ(rights_of(), 0664u);
    std::filesystem::permissions(path, std::filesystem::perms::owner_read);
    EXPECT_TRUE(write_whole_file(path, new_content).succeeded());
    EXPECT_EQ(rights_of(), 0400u);
    ::umask(before);
    EXPECT_EQ(content_of(folder / "other"), old_content);
}

TEST(WholeFile, MissingFileIsNoFailureAndALimitIs) {
    const TemporaryFolder folder;
    std::string text = "left over";
    EXPECT_TRUE(read_whole_file(folder / "none", text).is_nothing_done());
    EXPECT_EQ(text, "");
    ASSERT_TRUE(write_whole_file(folder / "file", old_content).succeeded());
    EXPECT_TRUE(read_whole_file(folder / "file", text, old_content.size()).succeeded());
    EXPECT_TRUE(read_whole_file(folder / "file", text, old_content.size() - 1).failed());
    EXPECT_TRUE(read_whole_file(folder.path(), text).failed());
}

TEST(WholeFile, AFailureAtAnyStepLeavesTheOldContentAndNothingElse) {
    int step = 0;
    for (bool broken = true; broken; ++step) {
        ASSERT_LT(step, 100);
        const TemporaryFolder folder;
        const std::string path = folder / "file";
        ASSERT_TRUE(write_whole_file(path, old_content).succeeded());
        BreakingOperations operations(step, [] { errno = ENOSPC; });
        const auto result = write_whole_file(path, new_content, operations);
        broken = operations.is_broken();
        // The folder's own flush comes after the rename: whole either way, so its failure is none of the
        // write's.
        EXPECT_EQ(content_of(path), result.failed() ? old_content : new_content) << "step " << step;
        if (result.failed()) {
            EXPECT_EQ(result.message(), path + ": No space left on device");
        }
        EXPECT_EQ(files_beside(path), 1) << "step " << step;
    }
    EXPECT_GT(step, 10); // open, eight writes, fsync, close, rename, the folder's three
}

TEST(WholeFile, AKillAtAnyStepLeavesTheOldContentOrTheNew) {
    bool seen_old = false;
    bool seen_new = false;
    for (int step = 0;; ++step) {
        ASSERT_LT(step, 100);
        const TemporaryFolder folder;
        const std::string path = folder / "file";
        ASSERT_TRUE(write_whole_file(path, old_content).succeeded());
        const int status = status_of_child([&] {
            BreakingOperations operations(step, [] { ::kill(::getpid(), SIGKILL); });
            return write_whole_file(path, new_content, operations).succeeded() ? 0 : 1;
        });
        const std::string content = content_of(path);
        seen_old |= content == old_content;
        seen_new |= content == new_content;
        EXPECT_TRUE(content == old_content || content == new_content) << "step " << step;
        // What the killed writer left behind is no hindrance to the next one.
        EXPECT_TRUE(write_whole_file(path, "next").succeeded());
        EXPECT_EQ(content_of(path), "next");
        EXPECT_EQ(files_beside(path), 1);
        if (WIFEXITED(status)) break;
    }
    EXPECT_TRUE(seen_old);
    EXPECT_TRUE(seen_new);
}

} // namespace
} // namespace settingshub2
