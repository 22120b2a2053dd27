#include "download_shelf.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace panedeck::guiserver {
namespace {

namespace fs = std::filesystem;

TEST(DownloadShelf, RemovesWhatNobodyFetches) {
    const tests::TemporaryFolder path;
    settingshub2::PrivateFolder writer, reader;
    ASSERT_TRUE(writer.open(path.path()).succeeded() && reader.open(path.path()).succeeded());
    std::string unfetched, lent;
    ASSERT_TRUE(writer.create_file(unfetched).succeeded() && writer.create_file(lent).succeeded());
    std::ofstream(path / "other");
    EXPECT_EQ(fs::status(writer.path_of(lent)).permissions(), fs::perms::owner_read | fs::perms::owner_write);

    DownloadShelf shelf(std::move(reader));
    auto loan = shelf.lend(lent);
    const auto now = std::chrono::system_clock::now();
    shelf.remove_unfetched(now + DownloadShelf::lifetime - std::chrono::minutes(1));
    EXPECT_TRUE(shelf.lend(unfetched));
    shelf.remove_unfetched(now + DownloadShelf::lifetime + std::chrono::minutes(1));
    EXPECT_FALSE(shelf.lend(unfetched));
    loan.reset();
    EXPECT_TRUE(shelf.lend(lent)) << "a fetch that broke off may be repeated";
    shelf.remove_all();
    EXPECT_FALSE(shelf.lend(lent));
    EXPECT_TRUE(fs::exists(path / "other"));
}

TEST(DownloadShelf, TakesAFolderOfThisUserAloneOnly) {
    const tests::TemporaryFolder path;
    settingshub2::PrivateFolder folder;
    fs::create_directory_symlink(path.path(), path / "link");
    std::ofstream(path / "file");
    for (const char* wrong : {"link", "file", "missing"})
        EXPECT_TRUE(folder.open(path / wrong).failed()) << wrong;
    fs::permissions(path.path(), fs::perms::owner_all | fs::perms::group_exec);
    EXPECT_EQ(folder.open(path.path()).message(),
              path.path() + ": the folder must belong to this user, with no rights for others");
    EXPECT_FALSE(folder.is_open());
    EXPECT_FALSE(DownloadShelf(std::move(folder)).lend(std::string(48, 'a')));
}

} // namespace
} // namespace panedeck::guiserver
