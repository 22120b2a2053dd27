#include "engine/import/import_fixture.h"

namespace panedeck::engine::tests {
namespace {

/// The header of one sample with one frame, and what it says.
struct HeaderCase {
    const char* header;
    const char* thread; ///< command, pid and tid
    std::int64_t time;  ///< -1 if the header has none
    const char* event;
    std::int64_t weight;
};

TEST(PerfScriptImporter, understands_headers_of_all_kinds) {
    const std::vector<HeaderCase> cases = {
        {"prog 12 1.5: 7 cycles:", "prog ?/12", 1'500'000'000, "cycles", 7},
        {"prog 12/13 [003] 10.000001:    250000 cpu-clock:uhH: ", "prog 12/13", 10'000'001'000,
         "cpu-clock:uhH", 250000},
        {"C2 CompilerThre 20121/20135  1506.005730:     667111 cpu-clock: ", "C2 CompilerThre 20121/20135",
         1'506'005'730'000, "cpu-clock", 667111},
        {"Web 2 Content\t25122 [007] 115539.936601:\t\t1000000 task-clock:u:", "Web 2 Content ?/25122",
         115'539'936'601'000, "task-clock:u", 1000000},
        {"           false 39654 19115.489713:          1 cycles:u: ", "false ?/39654", 19'115'489'713'000,
         "cycles:u", 1},
        {"java 19983 cycles:", "java ?/19983", -1, "cycles", 1},
        {"java 1/2 [0] 5 cycles:", "java 1/2", -1, "cycles", 5},
        {"node-v011 31912 cpu-clock: ", "node-v011 ?/31912", -1, "cpu-clock", 1},
        {"swapper     0 [003] 203265.377022:    1001001 cpu-clock: ", "swapper ?/0", 203'265'377'022'000,
         "cpu-clock", 1001001},
        {":-1 -1/-1 1.123456789: 2 page-faults:", ":-1 -1/-1", 1'123'456'789, "page-faults", 2},
        {"prog 12 [001] d..1. 1.5: sched:sched_switch: prev_comm=a prev_pid=1 12.5: x", "prog ?/12",
         1'500'000'000, "sched:sched_switch", 1},
        {"prog 12 1.5: 7 cpu/event=0x3c,umask=0x0/u:", "prog ?/12", 1'500'000'000,
         "cpu/event=0x3c,umask=0x0/u", 7},
        {"kworker/u8:2-ev 12/12 1.5: 7 cycles:", "kworker/u8:2-ev 12/12", 1'500'000'000, "cycles", 7},
        {"prog 1.5: 7 cycles:", " ?/0", 1'500'000'000, "cycles", 7},
        {"prog 12 1.5: ", "prog ?/12", 1'500'000'000, "samples", 1},
        {"prog 12 1.5:  44 ", "prog ?/12", 1'500'000'000, "samples", 44},
        {"prog cycles:", " ?/0", -1, "cycles", 1},
        {"my prog 12/13", "my prog 12/13", -1, "samples", 1},
        {"my prog", " ?/0", -1, "samples", 1},
    };
    for (const HeaderCase& test : cases) {
        const Imported imported = importText(std::string(test.header) + "\n\t  4f0 f+0x1 (m)\n");
        ASSERT_TRUE(imported.error.succeeded()) << test.header << ": " << imported.message();
        const ProfileData& profile = imported.profile;
        const ThreadIndex thread = profile.sample_threads.empty() ? 0 : profile.sample_threads.at(0);
        EXPECT_EQ(threadText(profile, thread), test.thread) << test.header;
        EXPECT_EQ(profile.times.empty() ? -1 : profile.times[0], test.time) << test.header;
        EXPECT_EQ(profile.metrics.at(0).name, test.event) << test.header;
        EXPECT_EQ(profile.metrics.at(0).integers, std::vector<std::int64_t>{test.weight}) << test.header;
        EXPECT_EQ(reportOf(imported), "") << test.header;
    }
}

TEST(PerfScriptImporter, understands_frames_of_all_kinds) {
    struct FrameCase {
        const char* frame;
        const char* function;
    };
    const std::vector<FrameCase> cases = {
        {"\t    7f443cc6f090 _start (/lib/ld-2.27.so)", "_start [/lib/ld-2.27.so]"},
        {"\t4f0 main+0x1f (/bin/a)", "main [/bin/a]"},
        {"\t4f0 perf_event_exec+0x800054e0213b ([kernel.kallsyms])", "perf_event_exec [[kernel.kallsyms]]"},
        {"        b3cea6c4\tLock::unlock() (/system/lib/libc.so)", "Lock::unlock() [/system/lib/libc.so]"},
        {"7f72 Ljava/io/PrintStream;::print (/tmp/perf-1.map)",
         "Ljava/io/PrintStream;::print [/tmp/perf-1.map]"},
        {"\t4f0 [unknown] (/bin/a)", "[unknown] [/bin/a]"},
        {"\t4f0 [unknown] ([unknown])", "[unknown]"},
        {"\t4f0  (/bin/a)", "[unknown] [/bin/a]"},
        {"\t4f0 (/bin/a)", "[unknown] [/bin/a]"},
        {"\t4f0", "[unknown]"},
        {"\t4f0 main", "main"},
        {"\t4f0 main+0x1f", "main"},
        {"\t4f0 f(int, g(long))", "f(int, g(long))"},
        {"\t4f0 operator()(int) const (/bin/a (deleted))", "operator()(int) const [/bin/a (deleted)]"},
        {"\t4f0 RegExp:[&<>\"\\'] (a) 1: (/tmp/p)", "RegExp:[&<>\"\\'] (a) 1: [/tmp/p]"},
        {"\t4f0 odd (/tmp/a)b)", "odd [/tmp/a)b]"},
        {"\t4f0 a+0xyz (m)", "a+0xyz [m]"},
        {"\t4f0 a+0x1+0x2f (m)", "a+0x1 [m]"},
        {"\t0x4f0 pkg.(*T).Method+0x0 (/bin/go)", "pkg.(*T).Method [/bin/go]"},
    };
    for (const FrameCase& test : cases) {
        const Imported imported = importText("p 1 1.5: 1 e:\n" + std::string(test.frame) + "\n");
        EXPECT_EQ(treeOf(imported), std::string(test.function) + " 1\n") << test.frame;
    }
}

TEST(PerfScriptImporter, makes_these_trees) {
    checkCases({
        {"leaf first, blank line between",
         "p 1 1.5: 3 e:\n\t1 c (m)\n\t2 b (m)\n\t3 a (m)\n\np 1 1.6: 4 e:\n\t2 b (m)\n\t3 a (m)\n",
         "a [m]\n b [m] 4\n  c [m] 3\n"},
        {"no blank line between, CRLF",
         "p 1 1.5: 3 e:\r\n\t1 b (m)\r\n\t3 a (m)\r\np 1 1.6: 4 e:\r\n\t3 a (m)", "a [m] 4\n b [m] 3\n"},
        {"the same name in two modules", "p 1 1.5: e:\n\t1 f (m)\n\np 1 1.5: e:\n\t1 f (n)\n",
         "f [m] 1\nf [n] 1\n"},
        {"inlined frames", "p 1 1.5: e:\n\t1 d (inlined)\n\t2 c (inlined)\n\t3 b+0x1 (m)\n\t4 a (inlined)\n",
         "a\n b [m]\n  c [m]\n   d [m] 1\n"},
        {"several events",
         "p 1 1.5: 3 x:\n\t1 a (m)\n\np 1 1.5: 5 y:u:\n\t1 a (m)\n\np 1 1.5: 7 x:\n\t1 b (m)\n",
         "a [m] 3 5\nb [m] 7\n"},
        {"a sample without frames counts", "p 1 1.5: 3 e:\n\np 1 1.6: 4 e:\n\t1 a (m)\n\np 1 1.7: 5 e:\n",
         "* 8\na [m] 4\n"},
        {"the only frame on the header line",
         "  false 39 19.5: 1 cycles:u:  ffffffff9b201293 [unknown] ([unknown])\n  false 39 19.6: 2 cycles:  "
         "7f _dl_start+0x4 (/ld.so)\n",
         "[unknown] 1\n_dl_start [/ld.so] 2\n"},
        {"an only frame without event", "false 39 7fa6 f (m)\nfalse 39 7fa7 g (m)\n", "f [m] 1\ng [m] 1\n"},
        {"an address before the frames is none", "p 1 1.5: 3 e: 7fa68b1f\n\t1 a (m)\n", "a [m] 3\n"},
        {"a command like an address", "dd 12 1.5: 3 e:\n\t1 a (m)\ndd 12 1.6: 4 e:\n\t1 a (m)\n",
         "a [m] 7\n"},
        {"frames not indented", "java 19 cycles:\nff0 b ([k])\nff1 a (m)\n\njava 19 cycles:\nff1 a (m)\n",
         "a [m] 1\n b [[k]] 1\n"},
        {"comments", "# ====\n# cmdline : perf 1 1.5: x:\np 1 1.5: 3 e:\n\t1 a (m)\n", "a [m] 3\n"},
        {"a period of 0 and a large one",
         "p 1 1.5: 0 e:\n\t1 a (m)\n\np 1 1.6: 9223372036854775807 e:\n\t1 b (m)\n",
         "a [m]\nb [m] 9223372036854775807\n"},
        {"broken UTF-8", "p\xFF 1 1.5: 3 e:\n\t1 a\xC0 (m\xFF)\n", "a\uFFFD [m\uFFFD] 3\n"},
    });
}

// Frames as `perf script -F` prints them without the fields that tell most: with call chains, then without.
TEST(PerfScriptImporter, knows_frames_without_modules_and_headers) {
    const std::string chains[] = {"\t           15c2a leaf\n\t               0 [unknown]\n\n",
                                  "\tffffffff821c5d17 leaf+0x1\n\t           15c78 main\n\n"};
    const char* const headers[] = {
        "", "sh 31900 ", "sh ", "31900 ", "cpu-clock: ", " 2151.439917: ", "31900 2.5: "};
    for (const std::string header : headers)
        EXPECT_EQ(treeOf(importText(header + "\n" + chains[0] + header + "\n" + chains[1])),
                  "[unknown]\n leaf 1\nmain\n leaf 1\n")
            << header;

    const char* const before[] = {"",
                                  "              sh 31910 ",
                                  "          md5sum ",
                                  "cpu-clock: ",
                                  " 2152.562051: ",
                                  "31910  2152.562051: "};
    for (const std::string header : before)
        EXPECT_EQ(
            treeOf(importText(header + "     7f6ec5bc962a lookup\n" + header + " ffffffff81355a16 copy\n" +
                              header + "     55c5664e1779 lookup\n  md5sum[4779]\n")),
            "lookup 2\ncopy 1\n")
            << header;
}

TEST(PerfScriptImporter, skips_and_counts_what_it_cannot_use) {
    checkCases({
        {"lines of other kinds",
         "p 1 1.5: PERF_RECORD_MMAP2 1/1: [0x400000(0x1000) @ 0 08:01 12 0]: r-xp /bin/a\n"
         "p 1 1.5: 3 e:\n\t1 a (m)\n  main.c:12\n|12   call();\n\t2 THIS (m)\n\tNO_FRAME\n\n"
         "\t7 orphan (m)\nProcessed 12 events\n\n",
         "THIS [m]\n a [m] 3\n"
         "6 lines skipped: 1 other record (PERF_RECORD_) (line 1), 2 source code (lines 4, 5), 2 neither "
         "header nor "
         "frame (lines 7, 10), 1 frame outside a sample (line 9)\n"},
        {"samples with a period that is none",
         "p 1 1.5: 9223372036854775808 e:\n\t1 a (m)\n\np 1 1.5: -3 e:\n\t1 a (m)\n\np 1 1.5: 3 e:\n\t1 a "
         "(m)\n",
         "a [m] 3\n2 lines skipped: 1 sample with a period that is too large (line 1), 1 sample with a "
         "negative period "
         "(line 4)\n"},
        {"a total that would wrap", "p 1 1.5: 9223372036854775807 e:\n\np 1 1.5: 1 x:\n\np 1 1.5: 1 e:\n\n",
         "file:6: the total weight would exceed 9223372036854775807"},
    });
    EXPECT_EQ(importText("p 1 1.5: PERF_RECORD_COMM: p:1/1\np 1 1.5: -1 e:\n\t1 a (m)\n").message(),
              "file:1: there is no sample in it; 2 lines skipped: 1 other record (PERF_RECORD_) (line 1), 1 "
              "sample with "
              "a negative period (line 2)");
}

TEST(PerfScriptImporter, keeps_the_limits) {
    ImportLimits limits;
    limits.line_bytes = 60;
    limits.name_bytes = 8;
    limits.stack_frames = 2;
    limits.metrics = 2;
    const std::string ok = "p 1 1.5: 1 e:\n\t1 a (m)\n\n";
    const std::string text = ok + "p 1 1.5: 2 e:\n\t1 " + std::string(60, 'x') + " (m)\n\n" +
                             "p 1 1.5: 2 e:\n\t1 123456789 (m)\n\n" +
                             "p 1 1.5: 2 e:\n\t1 a (m)\n\t1 b (m)\n\t1 c (m)\n\n" + "p 1 1.5: 2 x:\n\n" +
                             "p 1 1.5: 2 y:\n\n" + std::string(70, ' ') + "\n" + ok;
    const Imported imported = importText(text, limits);
    EXPECT_EQ(treeOf(imported), "* 2\na [m] 2\n");
    EXPECT_EQ(
        reportOf(imported),
        "5 lines skipped: 1 sample with a line that is too long (line 4), 1 sample with a name that is too "
        "long "
        "(line 7), 1 sample with a stack that is too deep (line 10), 1 sample of an event beyond the allowed "
        "number of them (line 17), 1 too long (line 19)\n");
}

TEST(PerfScriptImporter, names_threads_and_processes_by_the_last_command) {
    const Imported imported =
        importText("sh 7/7 1.5: 1 e:\n\nsh 7/8 1.6: 1 e:\n\nsh 9/8 1.7: 1 e:\n\nprog 7/7 1.8: 1 e:\n\n");
    const ProfileData& profile = imported.profile;
    std::vector<std::string> threads;
    for (const ThreadIndex thread : profile.sample_threads)
        threads.push_back(threadText(profile, thread));
    EXPECT_EQ(threads, (std::vector<std::string>{"prog 7/7", "sh 7/8", "sh 9/8", "prog 7/7"}));
    EXPECT_EQ(profile.processes.at(1).name, "prog");
    EXPECT_EQ(profile.processes.at(2).name, "sh");
}

TEST(PerfScriptImporter, gives_samples_without_time_the_nearest_one_before) {
    const Imported imported = importText("p 1 e:\n\t1 a (m)\n\np 1 1.5: e:\n\np 1 e:\n\np 1 1.7: e:\n\n");
    EXPECT_EQ(imported.profile.times,
              (std::vector<std::int64_t>{1'500'000'000, 1'500'000'000, 1'500'000'000, 1'700'000'000}));
}

TEST(PerfScriptImporter, clock_events_are_nanoseconds_if_they_say_how_many) {
    const Imported imported = importText("p 1 1.5: 5 cpu-clock:u:\n\np 1 1.5: task-clock:\n\np 1 1.5: 5 "
                                         "task-clock:\n\np 1 1.5: 5 cycles:\n\n");
    std::vector<MetricUnit> units;
    for (const MetricColumn& metric : imported.profile.metrics)
        units.push_back(metric.unit);
    EXPECT_EQ(units,
              (std::vector<MetricUnit>{MetricUnit::nanoseconds, MetricUnit::count, MetricUnit::count}));
}

TEST(PerfScriptImporter, survives_a_cut_anywhere) {
    checkEveryCut(
        "# c\nC2 Comp 1/2 [003] 1506.005730: 667111 cpu-clock:u: \n\t  adc563 A::b(int)+0x313 (/usr/lib.so)\n"
        "\t1 c (inlined)\n\nsh 7\n  ff d (m)\n  x.c:1\n  false 39 19.5: 1 e:  ff [unknown] ([unknown])\n");
}

} // namespace
} // namespace panedeck::engine::tests
