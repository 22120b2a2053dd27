#include "engine/tree/random_profile.h"
#include "store/new_folder.h"
#include "store/profile_database.h"
#include "store/result_directory.h"
#include "store/sqlite_database.h"
#include "store/stack_tree.h"
#include "support/profile_from_text.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

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

    /// Makes the result one of the oldest schema.
    void makeOldest() const {
        change("DROP TABLE checksum; DROP TABLE result_fact; DROP TABLE import_note; PRAGMA user_version=1");
        std::ofstream(directory + "/r000hs.pdres") << "<result><schema type=\"s32_t\">1</schema></result>";
    }

    TemporaryFolder folder;
    std::string directory = folder / "r000hs";
    std::string database = directory + "/profile.sqlite";
};

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
                                        "reads up to 2)");
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
        {"UPDATE dd_callsite SET parent=x'00000000020000000100000002000000'", "stack node 1 stands before"},
        {"UPDATE dd_callsite SET parent=x'000000'", "column parent has a chunk of a wrong size"},
        {"UPDATE dd_callsite SET chunk=1", "table dd_callsite has a gap"},
        {"UPDATE sample_column SET chunk=1 WHERE name='callsite'", "column callsite has a gap"},
        {"UPDATE sample_column SET data=x'0900000001000000' WHERE name='callsite'",
         "a sample without its stack"},
        {"UPDATE sample_column SET data=x'09000000' WHERE name='thread'",
         "sample columns of different lengths"},
        {"UPDATE sample_column SET data=x'000000000000F87F0000000000000000' WHERE name='metric:1'",
         "metric \"metric1\" has weights that are negative or too large"},
        {"DROP TABLE dd_process", "no such table: dd_process"},
    };
    // Of the oldest schema: what has a checksum is refused before anybody looks whether it fits.
    makeOldest();
    EXPECT_EQ(messageOf(directory), "");
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

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void write(const std::string& path, const std::string& content) {
    std::ofstream(path, std::ios::binary) << content;
}

TEST_F(DamagedResult, IsRefusedOrGivesTheSameAnswers) {
    ProfileData whole;
    ResultFacts whole_facts;
    ASSERT_TRUE(engine::readResult(directory, whole, whole_facts, nullptr).succeeded());
    std::mt19937 random(3);
    int refused = 0;
    for (int round = 0; round < 500; ++round) {
        const std::string file = round % 5 ? database : directory + "/r000hs.pdres";
        const std::string content = contentOf(file);
        std::string damaged = content.substr(0, round % 7 ? content.size() : random() % content.size());
        for (int flips = round % 3 ? 1 : 20; flips > 0 && !damaged.empty(); --flips)
            damaged[random() % damaged.size()] = static_cast<char>(random());
        write(file, damaged);
        ProfileData data;
        ResultFacts facts;
        if (engine::readResult(directory, data, facts, nullptr).failed())
            ++refused;
        else
            EXPECT_TRUE(equal(data, whole) && facts.name == whole_facts.name &&
                        facts.source == whole_facts.source && facts.format == whole_facts.format)
                << "round " << round;
        write(file, content);
    }
    EXPECT_GT(refused, 150); // the rest hit what no answer depends on, such as free space in pages
}

TEST_F(DamagedResult, IsTheDatabaseOfAnotherResult) {
    ProfileData other = smallProfile();
    other.names[1] = "another";
    ASSERT_TRUE(engine::writeResult(other, folder / "r001hs", {}, nullptr).succeeded());
    fs::copy_file(folder / "r001hs/profile.sqlite", database, fs::copy_options::overwrite_existing);
    EXPECT_EQ(messageOf(directory),
              database + ": belongs to another result than " + directory + "/r000hs.pdres");
}

TEST(ResultDirectory, KeepsWhatTheImportSkipped) {
    const TemporaryFolder folder;
    ResultFacts written{"a", "in.txt", "folded stacks", "2018-08-15T16:01:24", {}};
    written.notes.position_unit = "sample";
    written.notes.skipped = {{"without a weight", 12, {3, 5}}, {"too long", 1, {}}};
    written.notes.adjusted = {{"with a \"quote\"", 1, {7}}};
    ASSERT_TRUE(engine::writeResult(smallProfile(), folder / "r000hs", written, nullptr).succeeded());
    ResultFacts read;
    ASSERT_TRUE(engine::readResultFacts(folder / "r000hs", read).succeeded());
    EXPECT_EQ(read.notes.messages(), written.notes.messages());
    EXPECT_EQ(read.notes.skipped.at(1).first_positions, std::vector<std::uint64_t>{});
    EXPECT_EQ(read.taken + read.source, written.taken + written.source);
}

mode_t rightsOf(const std::string& path) {
    struct stat status {};
    EXPECT_EQ(::lstat(path.c_str(), &status), 0) << path;
    return status.st_mode & 0777;
}

TEST(ResultDirectory, HasTheRightsThatTheUserGives) {
    for (const mode_t mask : {0002, 0022, 0077}) {
        const TemporaryFolder folder;
        const mode_t before = ::umask(mask);
        const auto written = engine::writeResult(smallProfile(), folder / "r000hs", {}, nullptr);
        ::umask(before);
        ASSERT_TRUE(written.succeeded()) << written.message();
        EXPECT_EQ(rightsOf(folder / "r000hs"), 0777u & ~mask);
        EXPECT_EQ(rightsOf(folder / "r000hs/profile.sqlite"), 0666u & ~mask);
        EXPECT_EQ(rightsOf(folder / "r000hs/r000hs.pdres"), 0666u & ~mask);
    }
}

TEST(ResultDirectory, TidiesUpAfterImportsThatWereKilled) {
    const TemporaryFolder folder;
    for (const char* reserved : {"r000hs", "r001hs"})
        fs::create_directory(folder / reserved);
    // Somebody's own folders, one of them with the name of a new one.
    fs::create_directories(folder / ".r000hs.backup");
    fs::create_directories(folder / ".x.importing-0123456789abcdef/mine");
    const pid_t child = ::fork();
    if (child == 0) {
        engine::NewFolder killed;
        const bool is_made = killed.makeBeside(folder / "r000hs").succeeded();
        std::ofstream(killed.path() / "profile.sqlite") << "half";
        ::_exit(is_made ? 0 : 1); // as if killed: without tidying up
    }
    int status = 0;
    ASSERT_EQ(::waitpid(child, &status, 0), child);
    ASSERT_EQ(status, 0);
    engine::NewFolder at_work;
    ASSERT_TRUE(at_work.makeBeside(folder / "r001hs").succeeded());
    engine::removeAbandonedResults(folder.path());
    EXPECT_FALSE(fs::exists(folder / "r000hs"));
    for (const fs::path& kept :
         {fs::path(folder / "r001hs"), at_work.path(), fs::path(folder / ".r000hs.backup"),
          fs::path(folder / ".x.importing-0123456789abcdef/mine")})
        EXPECT_TRUE(fs::exists(kept)) << kept;
    EXPECT_EQ(std::distance(fs::directory_iterator(folder.path()), {}), 4);
}

} // namespace
} // namespace panedeck::tests
