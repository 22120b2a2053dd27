// Searching a grid whose rows are sorted by a number, so that neighbours on the screen lie far apart in
// memory.

#include "grid_profiles.h"
#include "ratio_report.h"

#include <atomic>
#include <thread>

namespace {

using namespace panedeck;
using namespace panedeck::bench;

constexpr std::size_t column_count = 6;

bk2::sptr_t<GridModel> grid(std::size_t rows) {
    static std::map<std::size_t, bk2::sptr_t<GridModel>> grids;
    auto& made = grids[rows];
    if (!made) {
        const OpenProfile profile(makeWideProfile(rows, 2));
        made =
            makeGrid(profile.tree("/Function", slicerkit1::query_flat_profile, {"/Info/Module", "/Metrics"}),
                     GridFlatProfile);
        if (made->getVisibleColumns().size() != column_count) std::abort();
        if (made->sort({3, true}).failed()) std::abort();
    }
    return made;
}

void searchAllCells(benchmark::State& state, const char* key) {
    const auto rows = static_cast<std::size_t>(state.range(0));
    const auto model = grid(rows);
    for (auto _ : state) {
        bk2::variant_bag_t found;
        if (model->search(key, found, nullptr).failed()) std::abort();
        benchmark::DoNotOptimize(found.is_empty());
    }
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * rows * column_count));
}

void findNothing(benchmark::State& state) {
    searchAllCells(state, "no such text");
}

void findOften(benchmark::State& state) {
    searchAllCells(state, "77");
}

/// The least that looking at all cells takes: the same values read from plain arrays in the order of the
/// grid's rows, the texts searched.
void barePass(benchmark::State& state) {
    const auto rows = static_cast<std::size_t>(state.range(0));
    const auto model = grid(rows);
    const std::vector<std::string> names = functionNames(std::max<std::size_t>(rows / 50, 1));
    struct Function {
        std::uint32_t name, module;
    };
    struct Row {
        std::uint32_t function;
        std::int64_t numbers[4];
    };
    bk2::array_t<Function> functions(rows);
    bk2::array_t<Row> table(rows);
    bk2::array_t<std::uint32_t> order(rows);
    for (std::uint32_t row = 0; row < rows; ++row) {
        functions[row] = {static_cast<std::uint32_t>(row % names.size()), row % 200};
        table[row].function = row;
        order[row] = row;
    }
    std::shuffle(order.begin(), order.end(), std::mt19937(1));
    std::size_t found = 0;
    for (auto _ : state)
        for (const std::uint32_t row : order) {
            const Function& function = functions[table[row].function];
            found += names[function.name].find("no such text") != std::string::npos;
            found += names[function.module % names.size()].find("no such text") != std::string::npos;
            for (const std::int64_t number : table[row].numbers)
                found += number == 77;
        }
    benchmark::DoNotOptimize(found);
}

/// From a cancel in the midst of a search to its answer.
void cancelSearch(benchmark::State& state) {
    const auto model = grid(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        const auto progress = notifykit2::IDevNullProgress::create();
        std::atomic<std::chrono::steady_clock::time_point> canceled{};
        std::thread canceler([&] {
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            canceled = std::chrono::steady_clock::now();
            progress->cancel();
        });
        bk2::variant_bag_t found;
        const auto error = model->search("no such text", found, progress.get());
        const auto end = std::chrono::steady_clock::now();
        canceler.join();
        if (!error.is_canceled()) state.SkipWithError("the search ended before it was cancelled");
        state.SetIterationTime(std::chrono::duration<double>(end - canceled.load()).count());
    }
}

} // namespace

BENCHMARK(findNothing)
    ->Arg(10'000)
    ->Arg(100'000)
    ->Arg(1'000'000)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime();
BENCHMARK(findOften)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(barePass)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond);
BENCHMARK(cancelSearch)->Arg(1'000'000)->Unit(benchmark::kMillisecond)->UseManualTime()->Iterations(5);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RatioReport report;
    benchmark::RunSpecifiedBenchmarks(&report);
    for (const char* name : {"findNothing", "findOften"}) {
        for (const std::size_t rows : {10'000, 100'000, 1'000'000})
            if (const double seconds = report.best(name + ("/" + std::to_string(rows))); seconds > 0)
                report.print(name + ("/" + std::to_string(rows)) + ": ns a cell",
                             seconds * 1e9 / static_cast<double>(rows * column_count), 200);
        report.checkGrowth(name, 10'000, 100'000, 1.25);
        report.checkGrowth(name, 100'000, 1'000'000, 1.25);
        report.checkGrowth(name, "barePass", 10'000, 100'000, 1.25);
        report.checkGrowth(name, "barePass", 100'000, 1'000'000, 1.25);
    }
    if (const double seconds = report.best("cancelSearch/1000000"); seconds > 0)
        report.print("cancelSearch/1000000: ms", seconds * 1e3, 5);
    return report.allReached() ? 0 : 1;
}
