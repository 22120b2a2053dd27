#include "engine/tree/random_profile.h"
#include "store/profile_database.h"
#include "store/result_directory.h"
#include "store/sqlite_database.h"
#include "store/stack_tree.h"
#include "support/profile_from_text.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace panedeck::tests {
namespace {

namespace fs = std::filesystem;
using engine::ProfileData;
using engine::ResultFacts;

ProfileData smallProfile() {
    return profileFromText(
        "[1/2 worker] main|app|main.c;parse|lib;read 5,1.5\n[1/3 other] main|app|main.c 2,0\n");
}

bool equal(const ProfileData& a, const ProfileData& b) {
    const auto key = [](const ProfileData& data) {
        std::vector<std::int64_t> all;
        for (const auto& function : data.functions)
            all.insert(all.end(), {function.name, function.module, function.source_file, function.line,
                                   function.column});
        for (const auto& thread : data.threads)
            all.insert(all.end(), {thread.process, thread.tid});
        for (const auto& process : data.processes)
            all.push_back(process.pid);
        return all;
    };
    bool same = a.names == b.names && a.modules == b.modules && a.source_files == b.source_files &&
                key(a) == key(b) && a.callsite_parents == b.callsite_parents &&
                a.callsite_functions == b.callsite_functions && a.times == b.times &&
                a.sample_threads == b.sample_threads && a.sample_callsites == b.sample_callsites &&
                a.sample_counts == b.sample_counts && a.metrics.size() == b.metrics.size();
    for (std::size_t i = 0; same && i < a.metrics.size(); ++i)
        same = a.metrics[i].name == b.metrics[i].name && a.metrics[i].unit == b.metrics[i].unit &&
               a.metrics[i].integers == b.metrics[i].integers &&
               a.metrics[i].decimals == b.metrics[i].decimals;
    return same;
}

std::string messageOf(const std::string& directory) {
    ProfileData data;
    ResultFacts facts;
    const auto error = engine::readResult(directory, data, facts, nullptr);
    EXPECT_TRUE(data.names.empty() || error.succeeded());
    return std::string(error.message());
}

/// A written result whose database a test then damages.
class DamagedResult : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(engine::writeResult(smallProfile(), directory, {"r000hs", "", ""}, nullptr).succeeded());
    }

    /// Changes the database by SQL.
    void change(const std::string& sql) const {
        sqlite3* handle = nullptr;
        ASSERT_EQ(sqlite3_open(database.c_str(), &handle), SQLITE_OK);
        EXPECT_EQ(sqlite3_exec(handle, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK)
            << sqlite3_errmsg(handle);
        sqlite3_close(handle);
    }

    TemporaryFolder folder;
    std::string directory = folder / "r000hs";
    std::string database = directory + "/profile.sqlite";
};

TEST(ResultDirectory, SaysHowManySamplesItsRecordsStandFor) {
    const TemporaryFolder folder;
    ProfileData data = smallProfile();
    data.sample_counts = {5, 4'000'000'000};
    ASSERT_TRUE(engine::writeResult(data, folder / "r000hs", {"r000hs", "", ""}, nullptr).succeeded());
    std::ifstream description(folder / "r000hs/r000hs.pdres");
    const std::string text(std::istreambuf_iterator<char>(description), {});
    EXPECT_NE(text.find(">4000000005</samples>"), std::string::npos) << text;
}

TEST(ResultDirectory, GivesBackWhatWasWritten) {
    for (unsigned seed = 0; seed < 20; ++seed) {
        std::mt19937 random(seed);
        ProfileData data = randomProfile(random);
        data.times.resize(data.sample_records(), 7);
        data.sample_counts.resize(data.sample_records(), 3);
        data.metrics[1].unit = engine::MetricUnit::microseconds;
        TemporaryFolder folder;
        ASSERT_TRUE(engine::writeResult(data, folder / "p/r000hs", {"a name", "in.txt", "folded"}, nullptr)
                        .succeeded());
        ProfileData read;
        ResultFacts facts;
        const auto error = engine::readResult(folder / "p/r000hs/", read, facts, nullptr);
        ASSERT_TRUE(error.succeeded()) << error.as_string(1);
        engine::sortIntoPreorder(data);
        EXPECT_TRUE(equal(data, read)) << "seed " << seed;
        EXPECT_EQ(facts.name + facts.source + facts.format, "a namein.txtfolded");
    }
}

TEST(ResultDirectory, KeepsColumnsOfSeveralChunks) {
    ProfileData data = smallProfile();
    const std::size_t count = 2 * engine::column_chunk_values + 5;
    data.sample_callsites.resize(count, 1);
    data.sample_threads.resize(count, 1);
    data.metrics.resize(1);
    data.metrics[0].integers.resize(count);
    for (std::size_t i = 0; i < count; ++i)
        data.metrics[0].integers[i] = static_cast<std::int64_t>(i);
    TemporaryFolder folder;
    ASSERT_TRUE(engine::writeResult(data, folder / "r", {}, nullptr).succeeded());
    ProfileData read;
    ResultFacts facts;
    ASSERT_TRUE(engine::readResult(folder / "r", read, facts, nullptr).succeeded());
    EXPECT_TRUE(equal(data, read));
}

TEST(ResultDirectory, HoldsTheFilesThatOthersLookFor) {
    TemporaryFolder folder;
    fs::create_directory(folder / "r000hs"); // an empty folder may be there
    ASSERT_TRUE(engine::writeResult(smallProfile(), folder / "r000hs", {}, nullptr).succeeded());
    EXPECT_TRUE(fs::is_regular_file(folder / "r000hs/r000hs.pdres"));
    EXPECT_TRUE(fs::is_regular_file(folder / "r000hs/profile.sqlite"));
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1) << "something was left beside it";
}

TEST(ResultDirectory, ListsResultsOfAProject) {
    TemporaryFolder folder;
    for (const char* name : {"r001hs", "r000hs"})
        ASSERT_TRUE(engine::writeResult(smallProfile(), folder / name, {}, nullptr).succeeded());
    fs::create_directory(folder / "empty");
    fs::create_directory(folder / ".r002hs.half");
    std::ofstream(folder / ".r002hs.half/r002hs.pdres") << "x";
    std::ofstream(folder / "work.pdproj") << "x";
    EXPECT_EQ(engine::listResults(folder.path()), (std::vector{folder / "r000hs", folder / "r001hs"}));
    EXPECT_EQ(engine::findProjectFile(folder.path()), folder / "work.pdproj");
    EXPECT_EQ(engine::findProjectFile(folder / "empty"), "");
    EXPECT_FALSE(engine::isResultDirectory(folder / "empty"));
}

TEST(ResultDirectory, LeavesNothingBehindAFailure) {
    TemporaryFolder folder;
    ProfileData broken = smallProfile();
    broken.callsite_parents[1] = 2;
    EXPECT_TRUE(engine::writeResult(broken, folder / "a", {}, nullptr).failed());
    const auto progress = notifykit2::IDevNullProgress::create();
    progress->cancel();
    EXPECT_TRUE(engine::writeResult(smallProfile(), folder / "b", {}, progress.get()).is_canceled());
    EXPECT_TRUE(fs::is_empty(folder.path()));

    fs::create_directory(folder / "full");
    std::ofstream(folder / "full/other") << "kept";
    EXPECT_TRUE(engine::writeResult(smallProfile(), folder / "full", {}, nullptr).failed());
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 1);
    EXPECT_TRUE(fs::exists(folder / "full/other"));
}

TEST_F(DamagedResult, OpensFromAReadOnlyFolder) {
    fs::permissions(directory, fs::perms::owner_read | fs::perms::owner_exec);
    fs::permissions(database, fs::perms::owner_read);
    EXPECT_EQ(messageOf(directory), "");
    EXPECT_EQ(std::distance(fs::directory_iterator(directory), {}), 2);
    fs::permissions(directory, fs::perms::owner_all);
}

TEST_F(DamagedResult, SaysWhatIsMissing) {
    EXPECT_EQ(messageOf(folder / "none"), folder / "none: no result directory");
    fs::remove(database);
    EXPECT_EQ(messageOf(directory), database + ": missing, the result is incomplete");
    std::ofstream(database) << "no database at all, but long enough to be looked at";
    EXPECT_EQ(messageOf(directory), database + ": file is not a database");
    std::ofstream(directory + "/r000hs.pdres") << "<result><schema";
    EXPECT_TRUE(messageOf(directory).starts_with(directory + "/r000hs.pdres: "));
}

TEST_F(DamagedResult, RefusesANewerSchema) {
    change("PRAGMA user_version=99");
    EXPECT_EQ(messageOf(directory), database +
                                        ": written by a newer version of this program (schema 99, this one "
                                        "reads up to 1)");
    std::ofstream(directory + "/r000hs.pdres") << "<result><schema type=\"s32_t\">100</schema></result>";
    EXPECT_NE(messageOf(directory).find("schema 100"), std::string::npos);
}

TEST_F(DamagedResult, RefusesDataThatDoNotFitTogether) {
    const struct {
        const char* sql;
        const char* says;
    } cases[] = {
        {"DELETE FROM dd_function WHERE id=1", "table dd_function has a gap"},
        {"UPDATE dd_function SET name=99 WHERE id=1", "a function without its name"},
        {"UPDATE dd_function SET line=-1", "index -1 out of range"},
        {"UPDATE dd_thread SET process=7 WHERE id=1", "a thread without its process"},
        {"UPDATE dd_code_location SET function=77 WHERE id=2", "a stack node without its function"},
        {"DELETE FROM dd_code_location WHERE id=3", "a stack node without its code location"},
        {"UPDATE dd_callsite SET parent=x'00000000020000000100000002000000'", "stack node 1 stands before"},
        {"UPDATE dd_callsite SET parent=x'000000'", "column parent has a chunk of a wrong size"},
        {"UPDATE dd_callsite SET chunk=1", "table dd_callsite has a gap"},
        {"UPDATE sample_column SET chunk=1 WHERE name='callsite'", "column callsite has a gap"},
        {"UPDATE sample_column SET data=x'0900000001000000' WHERE name='callsite'",
         "a sample without its stack"},
        {"UPDATE sample_column SET data=x'09000000' WHERE name='thread'",
         "sample columns of different lengths"},
        {"UPDATE sample_column SET data=x'FFFFFFFFFFFFFFFF0100000000000000' WHERE name='metric:0'",
         "metric \"samples\" has weights that are negative or too large"},
        {"UPDATE sample_column SET data=x'000000000000F87F0000000000000000' WHERE name='metric:1'",
         "metric \"metric1\" has weights that are negative or too large"},
        {"UPDATE metric SET unit=9", "a metric of an unknown unit"},
        {"DELETE FROM metric", "no metric"},
        {"DROP TABLE dd_process", "no such table: dd_process"},
    };
    const std::string backup = folder / "backup";
    fs::copy_file(database, backup);
    for (const auto& [sql, says] : cases) {
        fs::copy_file(backup, database, fs::copy_options::overwrite_existing);
        change(sql);
        const std::string message = messageOf(directory);
        EXPECT_NE(message.find(says), std::string::npos) << sql << ": " << message;
        EXPECT_TRUE(message.starts_with(database)) << message;
    }
}

TEST_F(DamagedResult, SurvivesEveryCutAndFlippedByte) {
    std::ifstream file(database, std::ios::binary);
    const std::string whole((std::istreambuf_iterator<char>(file)), {});
    std::mt19937 random(3);
    for (int round = 0; round < 200; ++round) {
        std::string damaged = whole.substr(0, round % 2 ? whole.size() : random() % whole.size());
        for (int flip = 0; flip < 20 && !damaged.empty(); ++flip)
            damaged[random() % damaged.size()] = static_cast<char>(random());
        std::ofstream(database, std::ios::binary) << damaged;
        messageOf(directory); // opens or is refused; a sanitizer sees the rest
    }
}

} // namespace
} // namespace panedeck::tests
