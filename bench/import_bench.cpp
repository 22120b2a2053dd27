// How fast folded stacks come in, beside the least that any reader of them has to do.

#include "import/import_profile.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

constexpr std::size_t megabyte = 1'000'000;
constexpr std::size_t distinct_stacks = 200'000;
constexpr std::size_t distinct_names = 20'000;

enum Order : int { shuffled, sorted };

/// A made-up program: a tree of calls as deep and as bushy as those of real servers.
class CallTree {
public:
    CallTree() {
        std::uniform_int_distribution<std::size_t> some_name(0, distinct_names - 1);
        m_parents.push_back(0);
        m_texts.push_back("main");
        for (std::size_t i = 1; i < distinct_stacks; ++i) {
            // Mostly a step further from a recent node, so that stacks get deep.
            std::uniform_int_distribution<std::size_t> back(1, std::min<std::size_t>(i, 5000));
            m_parents.push_back(i - back(m_random));
            m_texts.push_back(name(some_name(m_random)));
        }
    }

    void write(const std::string& path, std::size_t size, Order order) {
        std::ofstream file(path, std::ios::binary);
        std::uniform_int_distribution<std::size_t> some_node(0, distinct_stacks - 1);
        std::vector<std::string> lines;
        std::size_t written = 0;
        while (written < size) {
            std::string line =
                stackText(some_node(m_random)) + " " + std::to_string(1 + m_random() % 1000) + "\n";
            written += line.size();
            if (order == shuffled)
                file << line;
            else
                lines.push_back(std::move(line));
        }
        std::sort(lines.begin(), lines.end());
        for (const std::string& line : lines)
            file << line;
    }

private:
    static std::string name(std::size_t i) {
        static const char* const kinds[] = {"run", "std::vector<Item>::push_back", "parse_value",
                                            "Handler::on_read(Buffer&)", "do_syscall_64_[k]"};
        return std::string(kinds[i % 5]) + "_" + std::to_string(i);
    }

    std::string stackText(std::size_t node) const {
        std::vector<std::size_t> path;
        for (; node != 0; node = m_parents[node])
            path.push_back(node);
        std::string text = m_texts[0];
        for (auto it = path.rbegin(); it != path.rend(); ++it)
            text += ";" + m_texts[*it];
        return text;
    }

    std::mt19937_64 m_random{7};
    std::vector<std::size_t> m_parents;
    std::vector<std::string> m_texts;
};

/// Files that live as long as the run.
class Inputs {
public:
    ~Inputs() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }

    const std::string& get(std::size_t megabytes, Order order) {
        std::string& path = m_paths[{megabytes, order}];
        if (path.empty()) {
            path = m_folder + "/" + std::to_string(megabytes) + "-" + std::to_string(order);
            CallTree().write(path, megabytes * megabyte, order);
        }
        return path;
    }

private:
    static std::string makeFolder() {
        std::string pattern = (std::filesystem::temp_directory_path() / "import-bench-XXXXXX").string();
        if (!mkdtemp(pattern.data())) std::abort();
        return pattern;
    }

    std::string m_folder = makeFolder();
    std::map<std::pair<std::size_t, int>, std::string> m_paths;
};

const std::string& input(benchmark::State& state) {
    static Inputs inputs;
    return inputs.get(static_cast<std::size_t>(state.range(0)), static_cast<Order>(state.range(1)));
}

void setRate(benchmark::State& state, const std::string& path) {
    const auto size = static_cast<std::int64_t>(std::filesystem::file_size(path));
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * size);
}

void importFolded(benchmark::State& state) {
    const std::string& path = input(state);
    for (auto _ : state) {
        panedeck::engine::ProfileData profile;
        panedeck::engine::ImportReport report;
        const auto error = panedeck::engine::importProfile(path, profile, report, nullptr);
        if (error.failed()) state.SkipWithError(error.as_string(1).c_str());
        benchmark::DoNotOptimize(profile.sample_callsites.data());
        state.counters["nodes"] = static_cast<double>(profile.callsite_parents.size());
    }
    setRate(state, path);
}

/// The least: read, split into lines, split into frames, hash each frame.
void bareScan(benchmark::State& state) {
    const std::string& path = input(state);
    std::vector<char> buffer(std::size_t{256} << 10);
    for (auto _ : state) {
        const int file = ::open(path.c_str(), O_RDONLY);
        std::uint64_t sum = 0;
        for (;;) {
            const ssize_t count = ::read(file, buffer.data(), buffer.size());
            if (count <= 0) break;
            const char* at = buffer.data();
            const char* const end = at + count;
            while (at < end) {
                const auto* line_end =
                    static_cast<const char*>(std::memchr(at, '\n', static_cast<std::size_t>(end - at)));
                if (!line_end) line_end = end;
                while (at < line_end) {
                    const auto* stop = static_cast<const char*>(
                        std::memchr(at, ';', static_cast<std::size_t>(line_end - at)));
                    if (!stop) stop = line_end;
                    sum += std::hash<std::string_view>()({at, static_cast<std::size_t>(stop - at)});
                    at = stop + 1;
                }
                at = line_end + 1;
            }
        }
        ::close(file);
        benchmark::DoNotOptimize(sum);
    }
    setRate(state, path);
}

/// Prints what is measured and keeps each run's processor time per byte: other programs on the machine do not
/// count.
class RateReporter : public benchmark::ConsoleReporter {
public:
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs)
            m_rates[run.run_name.function_name + "/" + run.run_name.args] =
                run.counters.at("bytes_per_second");
        ConsoleReporter::ReportRuns(runs);
    }

    /// False if `name` takes more than `limit` times as long per byte as `reference`.
    bool check(const std::string& name, const std::string& reference, double limit) {
        const double ratio = m_rates[reference] / m_rates[name];
        std::printf("%s takes %.2f times %s per byte, limit %.2f\n", name.c_str(), ratio, reference.c_str(),
                    limit);
        return ratio <= limit;
    }

private:
    std::map<std::string, double> m_rates;
};

void sizes(benchmark::internal::Benchmark* bench) {
    bench->ArgNames({"MB", "sorted"})->Unit(benchmark::kMillisecond);
    for (const int order : {shuffled, sorted})
        for (const int size : {10, 100, 1000})
            bench->Args({size, order});
}

BENCHMARK(bareScan)->Apply(sizes);
BENCHMARK(importFolded)->Apply(sizes);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RateReporter reporter;
    benchmark::RunSpecifiedBenchmarks(&reporter);
    const bool is_shuffled_fast =
        reporter.check("importFolded/MB:100/sorted:0", "bareScan/MB:100/sorted:0", 8);
    const bool is_sorted_fast = reporter.check("importFolded/MB:100/sorted:1", "bareScan/MB:100/sorted:1", 3);
    const bool is_linear =
        reporter.check("importFolded/MB:1000/sorted:0", "importFolded/MB:100/sorted:0", 1.25);
    return is_shuffled_fast && is_sorted_fast && is_linear ? 0 : 1;
}
