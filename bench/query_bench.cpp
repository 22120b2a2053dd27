// How fast the first rows of a flat profile come, beside the least that must be done for them; and how fast a
// result opens, beside reading its files.

#include "dataface/input_data.h"
#include "dataface/table_tree.h"
#include "open_result.h"
#include "ratio_report.h"
#include "slicerkit/table_tree_query.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace panedeck::engine;

constexpr std::size_t function_count = 20'000;

/// Stacks as deep and as bushy as those of real programs, nodes in the order in which an importer meets them,
/// samples all over the tree.
ProfileData makeProfile(std::size_t nodes, std::size_t samples) {
    std::mt19937 random(1);
    ProfileData data;
    data.names = {""};
    for (std::size_t i = 1; i < function_count; ++i)
        data.names.push_back("function_" + std::to_string(i));
    data.modules = data.source_files = {""};
    data.processes.resize(1);
    data.threads.resize(1);
    for (StringIndex name = 0; name < function_count; ++name)
        data.functions.push_back({name, 0, 0, 0, 0});
    data.callsite_parents = {0};
    data.callsite_functions = {0};
    std::vector<std::uint32_t> depths{0};
    for (CallsiteIndex node = 1; node < nodes; ++node) {
        // Mostly a step further from a recent node, so that stacks get deep, but not without an end.
        CallsiteIndex parent = node == 1 ? 0 : node - 1 - random() % std::min<CallsiteIndex>(node, 50);
        if (depths[parent] >= 60) parent = random() % node;
        if (depths[parent] >= 60) parent = 0;
        depths.push_back(depths[parent] + 1);
        data.callsite_parents.push_back(parent);
        data.callsite_functions.push_back(1 + random() % (function_count - 1));
    }
    data.metrics.resize(1);
    data.metrics[0].name = "cycles";
    for (std::size_t i = 0; i < samples; ++i) {
        data.sample_callsites.push_back(1 + random() % (nodes - 1));
        data.metrics[0].integers.push_back(1 + random() % 1000);
    }
    return data;
}

const ProfileData& profile(std::size_t samples) {
    static std::map<std::size_t, ProfileData> profiles;
    auto& data = profiles[samples];
    if (data.callsite_parents.empty()) data = makeProfile(samples / 10, samples);
    return data;
}

bk2::sptr_t<dataface1::IInputData> openInput(std::size_t samples) {
    static std::map<std::size_t, bk2::sptr_t<dataface1::IInputData>> inputs;
    auto& input = inputs[samples];
    if (!input && openProfile(profile(samples), {"bench", "", ""}, input).failed()) std::abort();
    return input;
}

/// One pass over the sample columns, one up and one down the stack tree, and the rows in order: what any flat
/// profile with totals that count recursion once has to do.
void bareFlatProfile(benchmark::State& state) {
    const ProfileData& data = profile(static_cast<std::size_t>(state.range(0)));
    const std::size_t nodes = data.callsite_parents.size();
    for (auto _ : state) {
        std::vector<std::int64_t> self(nodes);
        for (std::size_t i = 0; i < data.sample_callsites.size(); ++i)
            self[data.sample_callsites[i]] += data.metrics[0].integers[i];
        std::vector<std::int64_t> total(self);
        for (std::size_t node = nodes; node-- > 1;)
            total[data.callsite_parents[node]] += total[node];
        std::vector<std::int64_t> function_self(function_count), function_total(function_count);
        for (std::size_t node = 0; node < nodes; ++node) {
            function_self[data.callsite_functions[node]] += self[node];
            function_total[data.callsite_functions[node]] += total[node];
        }
        std::vector<std::pair<std::int64_t, std::uint32_t>> rows;
        for (std::uint32_t function = 0; function < function_count; ++function)
            if (function_total[function] != 0) rows.emplace_back(-function_total[function], function);
        std::sort(rows.begin(), rows.end());
        benchmark::DoNotOptimize(rows.data());
        benchmark::DoNotOptimize(function_self.data());
    }
}

/// The values of the first 100 rows of a flat profile.
void readFlatProfile(const bk2::sptr_t<dataface1::IInputData>& input,
                     const bk2::sptr_t<dataface1::IQueryLibrary>& library) {
    const auto query = slicerkit1::ITableTreeQuery::create();
    bk2::sptr_t<dataface1::ITableTree> tree;
    if (query->addInputData(input).failed() ||
        query->addColumnQuery(library->findQuery("/Metrics")).failed() ||
        query->setGroupingQuery(library->findQuery("/Function")).failed() ||
        query->getTableTree(tree, nullptr, slicerkit1::query_flat_profile).failed())
        std::abort();
    std::vector<bk2::sptr_t<dataface1::IColumnInfo>> columns;
    for (auto column = tree->getColumns(nullptr); !column->at_end(); column->next())
        columns.push_back(column->current());
    auto row = tree->getRows(nullptr);
    for (int i = 0; i < 100 && !row->at_end(); ++i, row->next())
        for (const auto& column : columns) {
            bk2::variant_t value;
            row->current()->getValue(column.get(), dataface1::cell_value, value);
            benchmark::DoNotOptimize(value);
        }
}

/// The same through the query interfaces. The profile was just opened: nothing has been worked out before.
void firstFlatProfile(benchmark::State& state) {
    bk2::sptr_t<dataface1::IInputData> input;
    bk2::sptr_t<dataface1::IQueryLibrary> library;
    const auto open = [&] {
        library.reset();
        input.reset();
        if (openProfile(profile(static_cast<std::size_t>(state.range(0))), {"bench", "", ""}, input)
                .failed() ||
            createQueryLibrary(input, nullptr, "", library).failed())
            std::abort();
    };
    for (auto _ : state)
        panedeck::bench::timeOnce(state, open, [&] { readFlatProfile(input, library); });
}

/// Every row of the tree along `grouping` is made and read once.
void openWholeTree(benchmark::State& state, const char* grouping, int type) {
    const auto input = openInput(static_cast<std::size_t>(state.range(0)));
    bk2::sptr_t<dataface1::IQueryLibrary> library;
    if (createQueryLibrary(input, nullptr, "", library).failed()) std::abort();
    std::int64_t rows = 0;
    for (auto _ : state) {
        const auto query = slicerkit1::ITableTreeQuery::create();
        bk2::sptr_t<dataface1::ITableTree> tree;
        if (query->addInputData(input).failed() ||
            query->addColumnQuery(library->findQuery("/Metrics")).failed() ||
            query->setGroupingQuery(library->findQuery(grouping)).failed() ||
            query->getTableTree(tree, nullptr, type).failed())
            std::abort();
        std::vector<bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>>> open;
        open.push_back(tree->getRows(nullptr));
        while (!open.empty()) {
            if (open.back()->at_end()) {
                open.pop_back();
                continue;
            }
            const auto row = open.back()->current();
            open.back()->next();
            ++rows;
            bk2::iterator_ptr_t<bk2::sptr_t<dataface1::ITableRow>> children;
            if (row->getChildRows(children, nullptr, true) == dataface1::ITreeNode::ecsfError) std::abort();
            open.push_back(std::move(children));
        }
    }
    state.SetItemsProcessed(rows);
}

/// A result directory of a profile, made once and removed at the end of the program.
class BenchResult {
public:
    explicit BenchResult(std::size_t samples)
        : m_folder(std::filesystem::temp_directory_path() /
                   ("panedeck-bench-" + std::to_string(::getpid()))) {
        if (writeResult(profile(samples), path(), {"r000hs", "", ""}, nullptr).failed()) std::abort();
    }
    ~BenchResult() {
        std::error_code ignored;
        std::filesystem::remove_all(m_folder, ignored);
    }
    std::string path() const { return (m_folder / "r000hs").string(); }
    std::string database() const { return path() + "/profile.sqlite"; }
    std::size_t size() const { return std::filesystem::file_size(database()); }

private:
    std::filesystem::path m_folder;
};

constexpr std::size_t opened_samples = 10'000'000;

const BenchResult& result() {
    static const BenchResult made(opened_samples);
    return made;
}

void bareRead(benchmark::State& state) {
    std::vector<char> block(std::size_t{1} << 20);
    for (auto _ : state) {
        std::vector<char> content;
        content.reserve(result().size());
        std::ifstream file(result().database(), std::ios::binary);
        while (file.read(block.data(), static_cast<std::streamsize>(block.size())) || file.gcount() > 0)
            content.insert(content.end(), block.data(), block.data() + file.gcount());
        benchmark::DoNotOptimize(content.data());
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * result().size()));
}

void openAgain(benchmark::State& state) {
    for (auto _ : state) {
        bk2::sptr_t<dataface1::IInputData> input;
        if (openResult(result().path(), nullptr, input).failed()) std::abort();
        benchmark::DoNotOptimize(input);
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * result().size()));
}

void sampleSizes(benchmark::internal::Benchmark* bench) {
    bench->ArgName("samples")->Unit(benchmark::kMillisecond);
    for (const int samples : {100'000, 1'000'000, 10'000'000})
        bench->Arg(samples);
}

BENCHMARK(bareFlatProfile)->Apply(sampleSizes);
BENCHMARK(firstFlatProfile)->Apply(sampleSizes)->UseManualTime();
void smallSizes(benchmark::internal::Benchmark* bench) {
    bench->ArgName("samples")->Unit(benchmark::kMillisecond)->Iterations(3);
    for (const int samples : {100'000, 1'000'000})
        bench->Arg(samples);
}

BENCHMARK_CAPTURE(openWholeTree, topDown, "/CallStack", slicerkit1::query_top_down)->Apply(smallSizes);
BENCHMARK_CAPTURE(openWholeTree, bottomUp, "/Function/ParentCallStack", slicerkit1::query_bottom_up)
    ->Apply(smallSizes);
BENCHMARK(bareRead)->Unit(benchmark::kMillisecond);
BENCHMARK(openAgain)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    panedeck::bench::RatioReport report;
    benchmark::RunSpecifiedBenchmarks(&report);
    report.check("firstFlatProfile/samples:10000000", "bareFlatProfile/samples:10000000", 1.5);
    report.check("openAgain", "bareRead", 4);
    return report.allReached() ? 0 : 1;
}
