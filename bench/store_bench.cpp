// What the checksums of a stored result cost, beside reading the same result without them.

#include "ratio_report.h"
#include "store/result_directory.h"

#include <benchmark/benchmark.h>
#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <random>
#include <string>

namespace {

namespace engine = panedeck::engine;
namespace bench = panedeck::bench;

constexpr std::uint32_t functions = 100'000;
constexpr std::uint32_t nodes = 1'000'000;
constexpr std::size_t samples = 10'000'000;

/// A profile of much of everything: rows of names, a stack tree, sample columns.
engine::ProfileData makeProfile() {
    std::mt19937 random(5);
    engine::ProfileData data;
    data.names = {""};
    data.modules = {"", "program"};
    data.source_files = {""};
    data.processes = {{}, {1, "program"}};
    data.threads = {{}, {1, 1, "program"}};
    data.functions = {{}};
    for (std::uint32_t function = 1; function < functions; ++function) {
        data.names.push_back("namespace::Class::function_number_" + std::to_string(function));
        data.functions.push_back({function, 1, 0, 0, 0});
    }
    data.callsite_parents = {0};
    data.callsite_functions = {0};
    for (std::uint32_t node = 1; node < nodes; ++node) {
        data.callsite_parents.push_back(node - 1 - random() % std::min(node, 20u));
        data.callsite_functions.push_back(1 + random() % (functions - 1));
    }
    engine::MetricColumn metric;
    metric.name = "cycles";
    for (std::size_t sample = 0; sample < samples; ++sample) {
        data.sample_callsites.push_back(random() % nodes);
        data.times.push_back(static_cast<std::int64_t>(sample) * 1000);
        metric.integers.push_back(random() % 100'000);
    }
    data.metrics.push_back(std::move(metric));
    return data;
}

void mustBe(bool condition, const std::string& what) {
    if (condition) return;
    std::fprintf(stderr, "%s\n", what.c_str());
    std::exit(1);
}

/// The result once with checksums and once in the schema that had none.
class Results {
public:
    Results() {
        std::string pattern = (std::filesystem::temp_directory_path() / "store-bench-XXXXXX").string();
        mustBe(mkdtemp(pattern.data()), pattern);
        m_folder = pattern;
        const engine::ProfileData data = makeProfile();
        for (const char* name : {"checked", "unchecked"}) {
            const auto written = engine::writeResult(data, path(name), {}, nullptr);
            mustBe(written.succeeded(), written.as_string(1));
        }
        takeChecksumsOff(path("unchecked"));
    }
    ~Results() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    std::string path(const std::string& name) const { return m_folder + "/" + name; }

private:
    static void takeChecksumsOff(const std::string& directory) {
        sqlite3* handle = nullptr;
        mustBe(sqlite3_open((directory + "/profile.sqlite").c_str(), &handle) == SQLITE_OK, directory);
        mustBe(sqlite3_exec(handle, "DROP TABLE checksum; PRAGMA user_version=1", nullptr, nullptr,
                            nullptr) == SQLITE_OK,
               sqlite3_errmsg(handle));
        sqlite3_close(handle);
        std::ofstream(directory + "/unchecked.pdres") << "<result><schema type=\"s32_t\">1</schema></result>";
    }

    std::string m_folder;
};

void read(benchmark::State& state, const char* name) {
    static const Results results;
    for (auto _ : state) {
        engine::ProfileData data;
        engine::ResultFacts facts;
        const auto error = engine::readResult(results.path(name), data, facts, nullptr);
        if (error.failed()) state.SkipWithError(error.as_string(1).c_str());
        benchmark::DoNotOptimize(data.sample_callsites.data());
    }
}

void readChecked(benchmark::State& state) {
    read(state, "checked");
}

void readUnchecked(benchmark::State& state) {
    read(state, "unchecked");
}

BENCHMARK(readUnchecked)->Unit(benchmark::kMillisecond);
BENCHMARK(readChecked)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    constexpr int repetitions = 5;
    constexpr double most = 1.5;
    bench::initializeRepeated(argc, argv, repetitions);
    bench::RatioReport report;
    benchmark::RunSpecifiedBenchmarks(&report);
    report.check("readChecked", "readUnchecked", most);
    return report.allReached() ? 0 : 1;
}
