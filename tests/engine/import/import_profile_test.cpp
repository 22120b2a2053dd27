#include "engine/import/import_fixture.h"
#include "support/temporary_folder.h"

#include <zlib.h>

#include <fstream>
#include <sys/stat.h>

namespace panedeck::engine::tests {
namespace {

using panedeck::tests::TemporaryFolder;

std::string gzipped(const std::string& text) {
    z_stream stream{};
    EXPECT_EQ(deflateInit2(&stream, 6, Z_DEFLATED, 15 + 16, 8, Z_DEFAULT_STRATEGY), Z_OK);
    std::string packed(deflateBound(&stream, text.size()) + 64, '\0');
    stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(text.data()));
    stream.avail_in = static_cast<uInt>(text.size());
    stream.next_out = reinterpret_cast<Bytef*>(packed.data());
    stream.avail_out = static_cast<uInt>(packed.size());
    EXPECT_EQ(deflate(&stream, Z_FINISH), Z_STREAM_END);
    packed.resize(stream.total_out);
    deflateEnd(&stream);
    return packed;
}

std::string manyLines(int count) {
    std::string text;
    for (int i = 0; i < count; ++i)
        text += "main;f" + std::to_string(i % 100) + ";g" + std::to_string(i % 1000) + " 1\n";
    return text;
}

TEST(ImportProfile, reads_gzip) {
    checkCases({
        {"one member", gzipped("a;b 1\n"), "a\n b 1\n"},
        {"several members, cut inside a line", gzipped("a;b 1\na;") + gzipped("c 2\n") + gzipped(""),
         "a\n b 1\n c 2\n"},
        {"zeros behind the end", gzipped("a;b 1\n") + std::string(1000, '\0'), "a\n b 1\n"},
        {"UTF-8 mark inside",
         gzipped("\xEF\xBB\xBF"
                 "a;b 1\n"),
         "a\n b 1\n"},
        {"nothing", gzipped(""), "file:1: the file is empty"},
        {"other bytes behind the end", gzipped("a;b 1\n") + "rubbish",
         "file:2: the gzip data is damaged: incorrect header check"},
        {"gzip in gzip is no text", gzipped(gzipped("a;b 1\n")),
         "file:1: this is binary data and no profile of a known format"},
    });
}

TEST(ImportProfile, refuses_gzip_that_is_cut_or_damaged_anywhere) {
    const std::string packed = gzipped("a;b 1\na;c 2\nd;e;f 3\n");
    for (std::size_t size = 2; size < packed.size(); ++size)
        EXPECT_NE(importText(packed.substr(0, size)).message().find("the gzip data ends in the middle"),
                  std::string::npos)
            << size;
    for (std::size_t at = packed.size() - 8; at < packed.size(); ++at) {
        std::string damaged = packed;
        damaged[at] = static_cast<char>(damaged[at] ^ 0x55);
        EXPECT_NE(importText(damaged).message().find("the gzip data is damaged"), std::string::npos) << at;
    }
}

TEST(ImportProfile, tells_formats_by_content) {
    struct FormatCase {
        const char* name;
        std::string text;
        const char* format; ///< or the failure's message
    };
    const char unknown[] =
        "file:1: this is no profile of a known format (V8 CPU profile, perf script, folded stacks)";
    const char binary[] = "file:1: this is binary data and no profile of a known format";
    const std::vector<FormatCase> cases = {
        {"folded, single frames", "a 1\nb 2\n", "folded stacks"},
        {"folded, one line without end", "a 1", "folded stacks"},
        {"folded, some damage", "x\na;b 1\nc;d 2\n", "folded stacks"},
        {"folded, a first line beyond what is looked at", "a;" + std::string(400'000, 'x') + " 1\n",
         "folded stacks"},
        {"folded, many comments", "a;b 1\n" + std::string(400'000, '#') + "\n", "folded stacks"},
        {"folded with a name in braces", "{main};f 1\n", "folded stacks"},
        {"perf", "p 1 1.5: 3 e:\n\t1 a (m)\n", "perf script"},
        {"perf that begins in the middle", "\t1 a (m)\n\np 1 1.5: 3 e:\n\t1 a (m)\n", "perf script"},
        {"perf with words that end in a number", "p 1 1.5: 3 e: a;b 12\n\n", "perf script"},
        {"V8", "\n { \"nodes\":[{\"id\":1}],\"samples\":[1]}", "V8 CPU profile"},
        {"empty", "", "file:1: the file is empty"},
        {"only a byte order mark", "\xEF\xBB\xBF", "file:1: the file is empty"},
        {"only blank lines", "\n\n  \n", unknown},
        {"one stack among prose", "x\ny\nz\nu\na;b 1\n", unknown},
        {"prose", "Some words.\n\nThe year was 1999\nand nothing else; it was 5 o'clock.\nEnd.\n", unknown},
        {"counters", "cpu  12 0 5\ncpu0 12 0 5\nctxt 19\nbtime 17\nprocesses 20\nintr 8 0 1\n", unknown},
        {"a table with tabs", "name\t12\nother\t13\n", unknown},
        {"a table with commas", "name, 12\nother, 13\n", unknown},
        {"settings", "read: 12\nwritten: 13\n", unknown},
        {"sentences of which one has no number", "It took 12\nand then 13\nnothing\n", unknown},
        {"counted lines", "      3 Fix a fault (again)\n      2 Add a test (first)\n", unknown},
        {"a log of changes", "c9bf693 Forget rows (#12)\n6085986 JNI: Create b\n5d1cbf0 Test (#9)\n",
         unknown},
        {"changes under headings", "Added:\n\n  44e3270 a type\n  0661e4e b type\n", unknown},
        {"prose about perf",
         "A header line, then frames:\n\n    p 1 1.5: 3 e:\n        1f a (m)\n\nThis is it.\nMore.\nEnd.\n",
         unknown},
        {"a profile's beginning, then something else", "a;b 1\n" + std::string(400'000, '#') + "\nx\ny\nz\n",
         "file:1: most of its lines are no folded stacks, so this is no profile; 3 lines skipped: 3 without "
         "a "
         "weight (lines 3, 4, 5)"},
        {"another kind of JSON", "[{\"nodes\":[]}]", unknown},
        {"a table of numbers", "fn=(1) main\n16 4\n+3 4\n+5 9\n-2 8\n* 4\n", unknown},
        {"a log", "2024-01-01 12:00:00 started\n2024-01-01 12:00:01 connection 5\n", unknown},
        {"zeros", std::string(100, '\0'), binary},
        {"a program",
         std::string("\x7F"
                     "ELF\2\1\1\0\0\0\0\0a;b 1\n",
                     18),
         binary},
        {"control characters", "\1\2\3\4\5\6 a;b 1\n", binary},
        {"a zero after text", std::string("a;b 1\n\0", 7), binary},
    };
    for (const FormatCase& test : cases) {
        const Imported imported = importText(test.text);
        EXPECT_EQ(imported.error.failed() ? imported.message() : imported.report.format, test.format)
            << test.name;
    }
    EXPECT_EQ(importText("# a\n\n  text\n").message().substr(0, 7), "file:3:");
}

TEST(ImportProfile, names_files_of_other_tools) {
    const struct {
        std::string text;
        const char* says;
    } cases[] = {
        {"PERFILE2\1\2", "file:1: this is a perf.data recording: "},
        {std::string("\x0a\x04\x08\x01\x10\x02\x12\x05", 8), "file:1: this is a pprof profile: "},
        {std::string("{\xa9\x03z\0", 5), "file:1: this is a Python pstats profile, "},
        {"PK\3\4", "file:1: this is a zip archive: "},
        {R"({"displayTimeUnit":"ns","traceEvents":[{"nodes":[]}]})", "file:1: this is a Chrome trace: "},
        {R"([{"ph":"X","ts":1,"args":{}}])", "file:1: this is a Chrome trace: "},
        {R"({"meta":{"version":24},"libs":[],"thr)", "file:1: this is a profile of the Firefox Profiler: "},
        {R"({"head":{"selfSize":1}})", "file:1: this is a V8 heap profile: "},
        {"\n  unix`mutex_enter+0x10\n  unix`read\n   12\n", "file:1: this is the output of DTrace: "},
        {"version: 1\nevents: Ir\n\nfn=main\n1 2\n", "file:1: this is a callgrind or cachegrind profile, "},
        {"<?xml version=\"1.0\"?>\n<svg>", "file:1: this is a web page or a picture"},
    };
    for (const auto& [text, says] : cases) {
        EXPECT_TRUE(importText(text).message().starts_with(says)) << importText(text).message();
    }
    // What only looks like one of them.
    EXPECT_EQ(treeOf(importText(R"({"head":{"functionName":"selfSize","id":1,"hitCount":2}})")),
              "selfSize 2\n");
    EXPECT_EQ(treeOf(importText("unix`read;unix`\"traceEvents\": 3\n")),
              "unix`read\n unix`\"traceEvents\": 3\n");
}

TEST(ImportProfile, names_files_that_cannot_be_read) {
    const TemporaryFolder folder;
    ProfileData profile;
    ImportReport report;
    EXPECT_EQ(importProfile(folder / "none", profile, report, nullptr).message(),
              (folder / "none") + ": cannot be opened: No such file or directory");
    EXPECT_EQ(importProfile(folder.path(), profile, report, nullptr).message(),
              folder.path() + ": cannot be read: Is a directory");
}

/// Counts what it is told, and asks to stop at a given call of `is_canceled`.
class StoppingProgress final : public notifykit2::IProgress {
public:
    explicit StoppingProgress(int stop_at) : m_stop_at(stop_at) {}

    void start(const std::string&, std::uint64_t size) override { total = size; }
    void advance_to(std::uint64_t position) override { done = position; }
    void cancel() override { m_stop_at = 0; }
    bool is_canceled() const override { return ++polls > m_stop_at; }
    void add_ref() const override {}
    void release() const override {}

    mutable int polls = 0;
    std::uint64_t total = 0;
    std::uint64_t done = 0;

private:
    int m_stop_at;
};

TEST(ImportProfile, stops_wherever_it_is_canceled) {
    std::string v8 = "{\"nodes\":[{\"id\":1,\"callFrame\":{\"functionName\":\"a\"}}],\"samples\":[1";
    for (int i = 0; i < 300'000; ++i)
        v8 += ",1";
    std::string perf;
    for (int i = 0; i < 50'000; ++i)
        perf += "p 1 1.5: 1 e:\n\t1 a (m)\n\n";
    for (const std::string& text : {manyLines(100'000), perf, v8 + "]}"}) {
        int stop_at = 0;
        for (bool stopped = true; stopped; ++stop_at) {
            StoppingProgress progress(stop_at);
            ProfileData profile;
            ImportReport report;
            const auto error = importProfileBytes(text, "file", profile, report, &progress);
            stopped = error.failed();
            EXPECT_EQ(stopped, error.is_canceled()) << error.as_string(1);
            EXPECT_EQ(profile.sample_records() == 0, stopped);
            if (stopped) continue;
            EXPECT_EQ(progress.total, text.size());
            EXPECT_EQ(progress.done, text.size());
        }
        EXPECT_GT(stop_at, 4);
    }
}

TEST(ImportProfile, stops_while_its_input_waits_or_gives_nothing) {
    const TemporaryFolder folder;
    ASSERT_EQ(::mkfifo((folder / "nobody writes").c_str(), 0600), 0);
    std::ofstream members(folder / "empty members", std::ios::binary);
    const std::string member = gzipped("");
    for (int i = 0; i < 100'000; ++i)
        members << member;
    members.close();
    for (const char* name : {"nobody writes", "empty members"}) {
        StoppingProgress progress(3);
        ProfileData profile;
        ImportReport report;
        EXPECT_TRUE(importProfile(folder / name, profile, report, &progress).is_canceled()) << name;
    }
}

} // namespace
} // namespace panedeck::engine::tests
