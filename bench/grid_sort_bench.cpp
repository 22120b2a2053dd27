// Sorting top rows by a number and by text, beside a parallel sort of bare (number, index) records.

#include "grid_profiles.h"
#include "ratio_report.h"

#include <tbb/parallel_sort.h>

#include <cstdint>
#include <map>

namespace {

using namespace panedeck;
using namespace panedeck::bench;

bk2::sptr_t<GridModel> grid(std::size_t rows) {
    static std::map<std::size_t, bk2::sptr_t<GridModel>> grids;
    auto& made = grids[rows];
    if (!made)
        made = makeGrid(OpenProfile(makeWideProfile(rows, 2))
                            .tree("/Function", slicerkit1::query_flat_profile, {"/Metrics"}),
                        GridFlatProfile);
    return made;
}

struct Record {
    double number;
    std::uint32_t index;
};

void bareParallelSort(benchmark::State& state) {
    std::mt19937 random(1);
    std::vector<Record> records(static_cast<std::size_t>(state.range(0)));
    for (std::uint32_t i = 0; i < records.size(); ++i)
        records[i] = {static_cast<double>(random() % 10'000'000), i};
    for (auto _ : state) {
        std::vector<Record> sorted;
        timeOnce(
            state, [&] { sorted = records; },
            [&] {
                tbb::parallel_sort(sorted.begin(), sorted.end(),
                                   [](const Record& a, const Record& b) { return a.number < b.number; });
            },
            &secondsPassed);
    }
}

/// From an order that has nothing to do with the one that is asked for.
void sortBy(benchmark::State& state, int column, int before) {
    const auto model = grid(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state)
        timeOnce(
            state,
            [&] {
                (void)model->sort({before, true});
            },
            [&] {
                if (model->sort({column, false}).failed()) std::abort();
            },
            &secondsPassed);
}

void sortByNumber(benchmark::State& state) {
    sortBy(state, 4, 1);
}
void sortByText(benchmark::State& state) {
    sortBy(state, 0, 1);
}

} // namespace

#define FOR_ALL_SIZES(name)                                                                                  \
    BENCHMARK(name)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->UseManualTime()

FOR_ALL_SIZES(bareParallelSort);
FOR_ALL_SIZES(sortByNumber);
FOR_ALL_SIZES(sortByText);

int main(int argc, char** argv) {
    initializeRepeated(argc, argv, 5);
    RatioReport report;
    benchmark::RunSpecifiedBenchmarks(&report);
    for (const char* rows : {"/10000", "/100000", "/1000000"}) {
        report.check(std::string("sortByNumber") + rows, std::string("bareParallelSort") + rows, 3);
        report.check(std::string("sortByText") + rows, std::string("bareParallelSort") + rows, 5);
    }
    for (const char* name : {"sortByNumber", "sortByText"}) {
        report.checkGrowth(name, 10'000, 100'000, 1.25);
        report.checkGrowth(name, 100'000, 1'000'000, 1.25);
        report.checkGrowth(name, "bareParallelSort", 10'000, 100'000, 1.25);
        report.checkGrowth(name, "bareParallelSort", 100'000, 1'000'000, 1.25);
    }
    return report.allReached() ? 0 : 1;
}
