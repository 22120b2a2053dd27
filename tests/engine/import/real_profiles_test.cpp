#include "engine/import/import_fixture.h"

#include <cstdlib>
#include <filesystem>

namespace panedeck::engine::tests {
namespace {

/// A profile from a real program, and what a separate, simple script counted in it.
struct RealProfile {
    const char* file;
    std::uint64_t samples;
    std::uint64_t skipped;
    std::size_t stack_nodes;
    std::size_t functions;
    std::size_t threads;
    const char* totals;  ///< NAME=TOTAL of each metric, in the order of the file
    const char* hottest; ///< the name with the largest self weight, all metrics together
    double hottest_self;
    double hottest_total;
};

const std::vector<RealProfile> real_profiles = {
    {"folded/ffprofiler-flamegraph.txt", 45, 0, 193, 154, 0, "weight=152364",
     "core::ptr::_$LT$impl$u20$$BP$mut$u20$T$GT$::offset::h83331dc01d57b6ff", 19477, 19477},
    {"folded/flamegraph-perf-cycles-instructions-01-collapsed-all.txt", 6, 0, 19, 14, 0, "weight=333", "main",
     274, 324},
    {"folded/flamegraph-perf-iperf-stacks-pidtid-01-collapsed-tid.txt", 134, 0, 741, 172, 0, "weight=200",
     "xen_hypercall_xen_version", 67, 67},
    {"folded/flamegraph-perf-java-faults-01-collapsed-all.txt", 12, 0, 63, 58, 0, "weight=200",
     "handle_intel", 72, 72},
    {"folded/flamegraph-perf-vertx-stacks-01-collapsed-all.txt", 199, 0, 359, 228, 0, "weight=285",
     "hypercall_page_[k]", 23, 23},
    {"folded/inferno-bad-lines.txt", 7, 2, 19, 14, 0, "weight=607", "main", 548, 598},
    {"folded/inferno-dtrace-example.txt", 434, 0, 536, 224, 0, "weight=57441", "unix`mutex_enter", 12297,
     12297},
    {"folded/inferno-flames.txt", 2, 0, 14, 11, 0, "weight=291",
     "<frozen importlib._bootstrap_external>:<module>:828", 186, 186},
    {"folded/inferno-fractional.txt", 6, 0, 19, 14, 0, "weight=334.618", "main", 274.321, 324.551},
    {"folded/made-sqlite-gdb.folded", 67, 0, 233, 137, 0, "weight=160", "sqlite3VdbeExec", 27, 160},
    {"folded/made-sqlite-perf.folded", 141, 0, 361, 230, 0, "weight=244162626", "sqlite3VdbeExec", 63375545,
     206137299},
    {"folded/made-zstd-threads.folded", 17, 0, 96, 69, 0, "weight=1085642021", "[zstd]", 937027452,
     939546343},
    {"folded/speedscope-alternating.txt", 182, 0, 4, 4, 0, "weight=182", "b", 91, 91},
    {"folded/speedscope-recursion.txt", 10, 0, 11, 3, 0, "weight=10", "b", 5, 9},
    {"folded/speedscope-simple-crlf.txt", 5, 0, 4, 4, 0, "weight=14", "b", 5, 14},
    {"folded/speedscope-simple-utf16-le.txt", 5, 0, 4, 4, 0, "weight=14", "b", 5, 14},
    {"perf/ffprofiler-simple-perf.txt", 163, 0, 1086, 655, 12, "task-clock:u=163000000", "mult", 23000000,
     23000000},
    {"perf/flamegraph-perf-cycles-instructions-01.txt", 444, 0, 37, 25, 5, "instructions=333 cycles=111",
     "main", 342, 421},
    {"perf/flamegraph-perf-iperf-stacks-pidtid-01.txt", 201, 0, 352, 161, 10, "cpu-clock=201",
     "xen_hypercall_xen_version", 67, 67},
    {"perf/flamegraph-perf-java-faults-01.txt", 23, 0, 60, 55, 4, "page-faults=200", "handle_intel", 72, 72},
    {"perf/flamegraph-perf-java-stacks-02.txt", 2, 0, 24, 24, 1, "cycles=2", "native_write_msr_safe", 2, 2},
    {"perf/flamegraph-perf-js-stacks-01.txt", 2, 0, 19, 18, 1, "cpu-clock=2", "RegExp:[&<>\\\"\\']", 1, 1},
    {"perf/gprof2dot-issue28.perf", 14, 0, 34, 32, 1, "cycles:ppp=10128556", "main", 5306335, 8313267},
    {"perf/inferno-cpp-stacks-std-function.txt", 46, 0, 41, 37, 1, "cycles:uppp=80567950", "[unknown]",
     65753052, 74314866},
    {"perf/inferno-go-stacks.txt", 5, 0, 55, 45, 1, "cpu-clock:uhH=1250000", "runtime.growslice", 500000,
     500000},
    {"perf/inferno-single-line-stacks.txt", 2, 0, 2, 2, 1, "cycles:u=1 cycles=1", "[unknown]", 1, 1},
    {"perf/inferno-sourcepawn-jitdump.txt", 1, 0, 34, 9, 1, "cycles=22145531", "fib.smx::fib", 22145531,
     22145531},
    {"perf/inferno-weird-stack-line.txt", 2, 1, 1, 1, 1, "cpu-clock:uhH=500000", "main", 250000, 250000},
    {"perf/made-java.perf", 174, 0, 451, 255, 3, "cpu-clock=116077314", "Interpreter", 10673776, 42695104},
    {"perf/made-sqlite.perf", 467, 0, 377, 241, 1, "page-faults=2297 cpu-clock=244162626", "sqlite3VdbeExec",
     63375545, 206137826},
    {"perf/made-zstd-three-events.perf", 470, 0, 165, 102, 5,
     "minor-faults=37560 context-switches=64 task-clock=1085642021", "[unknown]", 937027453, 992480417},
    {"perf/speedscope-forks.txt", 561, 0, 128, 8, 4, "cpu-clock=561561561", "[unknown]", 327327327,
     561561561},
    {"perf/speedscope-simple-with-header.txt", 136, 0, 9, 7, 1, "cpu-clock=136136136", "_Z4betav", 47047047,
     47047047},
    {"cpuprofile/bengl-test.cpuprofile", 729, 0, 61, 43, 0, "time=773414", "run", 551710, 773414},
    {"cpuprofile/made-eslint.cpuprofile", 399, 0, 2055, 530, 0, "time=1239777", "readFileUtf8", 312948,
     312948},
    {"cpuprofile/made-prettier.cpuprofile", 443, 0, 1776, 588, 0, "time=963926", "compileSourceTextModule",
     131392, 131392},
    {"cpuprofile/pushbased-CPU.20250519.000217.90620.3.004.cpuprofile", 4111, 0, 196, 116, 0, "time=5352667",
     "atomicsWaitLoop", 5203334, 5203334},
    {"cpuprofile/pushbased-minimal-cpu-profile-nodes-call-frame-source-location.cpuprofile", 4, 0, 3, 3, 0,
     "time=30", "child-work-1", 10, 10},
    {"cpuprofile/pushbased-minimal-cpu-profile-timing-data-samples.cpuprofile", 16, 0, 6, 6, 0, "time=150",
     "fetch-data", 30, 50},
    {"cpuprofile/pushbased-minimal-cpu-profile.cpuprofile", 3, 0, 4, 4, 0, "time=200", "child-work-1", 100,
     100},
    {"cpuprofile/speedscope-example.cpuprofile", 29, 0, 6, 5, 0, "time=44777", "d", 44777, 44777},
    {"cpuprofile/speedscope-simple.cpuprofile", 29, 0, 6, 5, 0, "time=45920", "d", 34345, 34345},
    {"cpuprofile/speedscope-sucrase.cpuprofile", 17138, 0, 3491, 509, 0, "time=22010427",
     "Object.keys.forEach", 3403543, 3438638},
};

std::string profilesFolder() {
    if (const char* folder = std::getenv("PANEDECK_REAL_PROFILES")) return folder;
    return "../shared/profiles";
}

double sumOf(const MetricColumn& metric) {
    double sum = 0;
    for (const std::int64_t value : metric.integers)
        sum += static_cast<double>(value);
    for (const double value : metric.decimals)
        sum += value;
    return sum;
}

std::string totalsOf(const ProfileData& profile) {
    std::string text;
    for (const MetricColumn& metric : profile.metrics) {
        std::ostringstream sum;
        sum.precision(15);
        sum << sumOf(metric);
        text += (text.empty() ? "" : " ") + metric.name + "=" + sum.str();
    }
    return text;
}

double weightOf(const ProfileData& profile, std::size_t record) {
    double sum = 0;
    for (const MetricColumn& metric : profile.metrics)
        sum += metric.is_integer ? static_cast<double>(metric.integers[record]) : metric.decimals[record];
    return sum;
}

const std::string& nameOf(const ProfileData& profile, CallsiteIndex node) {
    return profile.names[profile.functions[profile.callsite_functions[node]].name];
}

bool stackHolds(const ProfileData& profile, CallsiteIndex node, const std::string& name) {
    for (; node != 0; node = profile.callsite_parents[node])
        if (nameOf(profile, node) == name) return true;
    return false;
}

std::uint64_t samplesOf(const ProfileData& profile) {
    std::uint64_t samples = profile.sample_counts.empty() ? profile.sample_records() : 0;
    for (const std::uint32_t count : profile.sample_counts)
        samples += count;
    return samples;
}

TEST(RealProfiles, have_the_totals_that_were_counted_otherwise) {
    if (!std::filesystem::is_directory(profilesFolder()))
        GTEST_SKIP() << "set PANEDECK_REAL_PROFILES to the folder of real profiles";
    for (const RealProfile& expected : real_profiles) {
        SCOPED_TRACE(expected.file);
        Imported imported;
        imported.error =
            importProfile(profilesFolder() + "/" + expected.file, imported.profile, imported.report, nullptr);
        ASSERT_TRUE(imported.error.succeeded()) << imported.message();
        const ProfileData& profile = imported.profile;
        EXPECT_EQ(validateProfile(profile).as_string(1), "");
        EXPECT_EQ(samplesOf(profile), expected.samples);
        EXPECT_EQ(imported.report.records_read, expected.samples);
        EXPECT_EQ(imported.report.skipped_total(), expected.skipped);
        EXPECT_EQ(profile.callsite_parents.size() - 1, expected.stack_nodes);
        EXPECT_EQ(profile.functions.size() - 1, expected.functions);
        EXPECT_EQ(profile.threads.size() - 1, expected.threads);
        EXPECT_EQ(totalsOf(profile), expected.totals);

        double self = 0;
        double total = 0;
        for (std::size_t record = 0; record < profile.sample_records(); ++record) {
            const CallsiteIndex leaf = profile.sample_callsites[record];
            if (leaf != 0 && nameOf(profile, leaf) == expected.hottest) self += weightOf(profile, record);
            if (stackHolds(profile, leaf, expected.hottest)) total += weightOf(profile, record);
        }
        EXPECT_DOUBLE_EQ(self, expected.hottest_self) << expected.hottest;
        EXPECT_DOUBLE_EQ(total, expected.hottest_total) << expected.hottest;
    }
}

TEST(RealProfiles, of_other_formats_are_refused) {
    const std::string folder = profilesFolder() + "/callgrind";
    if (!std::filesystem::is_directory(folder))
        GTEST_SKIP() << "set PANEDECK_REAL_PROFILES to the folder of real profiles";
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        Imported imported;
        imported.error = importProfile(entry.path().string(), imported.profile, imported.report, nullptr);
        EXPECT_NE(imported.message(), "") << entry.path();
    }
}

} // namespace
} // namespace panedeck::engine::tests
