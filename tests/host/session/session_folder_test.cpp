#include "session/session_folder.h"
#include "settingshub/product_locations.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace panedeck::host {
namespace {

namespace fs = std::filesystem;

TEST(SessionFolder, IsTheResultsOwnOrOneOfTwoHundredOfTheUser) {
    const panedeck::tests::TemporaryFolder folder;
    settingshub2::IProductLocations::get()->setUserDirectory(folder / "user");
    fs::create_directory(folder / "result");
    const auto find = [](const std::vector<std::string>& paths) { return findSessionFolder(paths).path; };
    EXPECT_EQ(find({folder / "result"}), folder / "result");

    std::ofstream(folder / "a") << "";
    std::ofstream(folder / "b") << "";
    const auto of_a = find({folder / "a"});
    fs::create_symlink(folder / "a", folder / "link");
    EXPECT_EQ(find({folder / "link"}), of_a);
    const auto of_both = find({folder / "a", folder / "b"});
    EXPECT_NE(of_both, find({folder / "b", folder / "a"}));

    const auto sessions = fs::path(folder / "user/sessions");
    for (int i = 0; i < 197; ++i)
        fs::create_directory(sessions / std::to_string(i));
    fs::last_write_time(of_a, fs::file_time_type::clock::now() - std::chrono::hours(2));
    fs::last_write_time(of_both, fs::file_time_type::clock::now() - std::chrono::hours(1));
    EXPECT_EQ(find({folder / "a"}), of_a) << "used again, so no longer the oldest";
    find({folder / "b"});
    EXPECT_TRUE(fs::exists(of_a));
    EXPECT_FALSE(fs::exists(of_both));
    EXPECT_EQ(std::distance(fs::directory_iterator(sessions), {}), 200);
    settingshub2::IProductLocations::get()->setUserDirectory("");
}

} // namespace
} // namespace panedeck::host
