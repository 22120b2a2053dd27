// What touches all rows of a grid: opening and closing all of them, selecting all, saving and restoring what
// is open; opening one large row in the midst of many; and what a row takes of memory.

#include "basekit/large_pages.h"
#include "grid_profiles.h"
#include "ratio_report.h"

#include <malloc.h>
#include <map>
#include <memory>
#include <utility>

namespace {

using namespace panedeck;
using namespace panedeck::bench;

using RowPtr = bk2::sptr_t<dataface1::ITableRow>;
using RowIterator = bk2::iterator_ptr_t<RowPtr>;
using TreePtr = bk2::sptr_t<dataface1::ITableTree>;

RowIterator childrenOf(const RowPtr& row) {
    RowIterator children;
    if (row->getChildRows(children, nullptr, true) == dataface1::ITreeNode::ecsfError) std::abort();
    return children;
}

/// A record as the grid has it for each row.
struct Record {
    std::int32_t state;
    std::int32_t level;
    const void* row;
};

/// One pass over the provider's rows: the least that showing all of them takes.
std::vector<Record> passOver(const dataface1::ITableTree& tree) {
    std::vector<Record> records;
    std::vector<RowIterator> open;
    open.push_back(tree.getRows(nullptr));
    while (!open.empty()) {
        if (open.back()->at_end()) {
            open.pop_back();
            continue;
        }
        const RowPtr row = open.back()->current();
        open.back()->next();
        records.push_back({0, static_cast<std::int32_t>(open.size() - 1), row.get()});
        open.push_back(childrenOf(row));
    }
    return records;
}

/// A profile and a tree of it.
struct OpenTree {
    OpenProfile profile;
    TreePtr tree;
};

/// A call tree of about that many rows, all of them made.
const OpenTree& deep(std::size_t rows) {
    static std::map<std::size_t, std::unique_ptr<OpenTree>> trees;
    auto& made = trees[rows];
    if (!made) {
        made = std::make_unique<OpenTree>(OpenProfile(makeDeepProfile(rows, 2)), nullptr);
        made->tree = made->profile.tree("/CallStack", slicerkit1::query_top_down, {"/Metrics"});
        passOver(*made->tree);
    }
    return *made;
}

/// A flat profile of that many rows.
const OpenTree& wide(std::size_t rows) {
    static std::map<std::size_t, std::unique_ptr<OpenTree>> trees;
    auto& made = trees[rows];
    if (!made) {
        made = std::make_unique<OpenTree>(OpenProfile(makeWideProfile(rows, 2)), nullptr);
        made->tree = made->profile.tree("/Function", slicerkit1::query_flat_profile, {"/Metrics"});
    }
    return *made;
}

TreePtr deepTree(std::size_t rows) {
    return deep(rows).tree;
}

std::size_t argument(const benchmark::State& state) {
    return static_cast<std::size_t>(state.range(0));
}

void countRows(benchmark::State& state, std::size_t rows) {
    state.counters["rows"] = static_cast<double>(rows);
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations() * rows));
}

void preorderPass(benchmark::State& state) {
    const TreePtr tree = deepTree(argument(state));
    std::size_t rows = 0;
    for (auto _ : state)
        rows = passOver(*tree).size();
    countRows(state, rows);
}

/// Of a grid that has never opened a row.
void expandAll(benchmark::State& state) {
    const TreePtr tree = deepTree(argument(state));
    bk2::sptr_t<GridModel> grid;
    for (auto _ : state)
        timeOnce(
            state, [&] { grid = makeGrid(tree, GridTopDown); },
            [&] { grid->expandRowsRecursively(nullptr, 0); });
    countRows(state, static_cast<std::size_t>(grid->getRowCount()));
}

void collapseAll(benchmark::State& state) {
    const auto grid = makeGrid(deepTree(argument(state)), GridTopDown);
    std::size_t rows = 0;
    for (auto _ : state)
        timeOnce(
            state,
            [&] {
                grid->expandRowsRecursively(nullptr, 0);
                rows = static_cast<std::size_t>(grid->getRowCount());
            },
            [&] { grid->collapseAllRows(nullptr); });
    countRows(state, rows);
}

/// The least that closing all takes: a look at each record, a flag of each open row, and the top rows kept.
void bareClose(benchmark::State& state) {
    const auto grid = makeGrid(deepTree(argument(state)), GridTopDown);
    grid->expandRowsRecursively(nullptr, 0);
    const auto rows = static_cast<std::size_t>(grid->getRowCount());
    struct Item {
        std::uint64_t words[3];
    };
    bk2::array_t<Item> items(rows);
    bk2::array_t<Record> open, kept;
    for (std::size_t row = 0; row < rows; ++row) {
        const int index = static_cast<int>(row);
        open.push_back({grid->getRowState(index), grid->getRowLevel(index), &items[row]});
    }
    const auto close = [&] {
        std::size_t top = 0;
        for (const Record& record : open) {
            if (record.state == RowExpanded) ++static_cast<Item*>(const_cast<void*>(record.row))->words[2];
            if (record.level == 0) kept[top++] = record;
        }
    };
    for (auto _ : state)
        timeOnce(
            state, [&] { kept = open; }, close);
    countRows(state, rows);
}

void sortOpenTree(benchmark::State& state) {
    const auto grid = makeGrid(deepTree(argument(state)), GridTopDown);
    grid->expandRowsRecursively(nullptr, 0);
    bool descending = true;
    for (auto _ : state) {
        descending = !descending;
        if (grid->sort({2, descending}).failed()) std::abort();
    }
    countRows(state, static_cast<std::size_t>(grid->getRowCount()));
}

/// The siblings of a grid's rows, as plain arrays: who is in a group, and what it is sorted by.
struct PlainGroups {
    std::vector<std::vector<std::uint32_t>> members;
    bk2::array_t<double> numbers; ///< by row

    explicit PlainGroups(const GridModel& grid) {
        std::vector<std::size_t> path; // the group of each level
        for (int row = 0; row < grid.getRowCount(); ++row) {
            const auto level = static_cast<std::size_t>(grid.getRowLevel(row));
            path.resize(std::min(path.size(), level + 1));
            if (path.size() <= level) {
                path.push_back(members.size());
                members.emplace_back();
            }
            members[path.back()].push_back(static_cast<std::uint32_t>(row));
            numbers.push_back(grid.getCellContentByIndex(row, 2).get<double>());
        }
    }
};

/// The least that sorting an open tree takes: each group's numbers read and sorted, each row put in its
/// place.
void bareSortGroups(benchmark::State& state) {
    const auto grid = makeGrid(deepTree(argument(state)), GridTopDown);
    grid->expandRowsRecursively(nullptr, 0);
    const PlainGroups groups(*grid);
    bk2::array_t<Record> rows(groups.numbers.size());
    std::vector<std::pair<double, std::uint32_t>> keyed;
    for (auto _ : state) {
        std::size_t place = 0;
        for (const auto& members : groups.members) {
            keyed.clear();
            for (const std::uint32_t row : members)
                keyed.emplace_back(groups.numbers[row], row);
            std::sort(keyed.begin(), keyed.end());
            for (const auto& [number, row] : keyed)
                rows[place++] = {0, 0, &groups.numbers[row]};
        }
        benchmark::DoNotOptimize(rows.data());
    }
    countRows(state, rows.size());
}

/// The selection, the sums in the footer and the filter that goes to the other panes.
void selectAllRows(benchmark::State& state, const TreePtr& tree) {
    const auto grid = makeGrid(tree, GridTopDown);
    grid->expandRowsRecursively(nullptr, 0);
    for (auto _ : state) {
        if (grid->processRowSelection(0, 0, SelectAll).failed()) std::abort();
        if (!grid->popSelectionState().filter) std::abort();
    }
    countRows(state, grid->getSelectedCount());
}

void selectAllDeep(benchmark::State& state) {
    selectAllRows(state, deepTree(argument(state)));
}
void selectAllWide(benchmark::State& state) {
    selectAllRows(state, wide(argument(state)).tree);
}

/// What another pane's first refresh takes once all rows are selected here: the filter is worked out for the
/// first time.
void refreshUnderSelection(benchmark::State& state, const OpenTree& open) {
    const auto grid = makeGrid(open.tree, GridTopDown);
    grid->expandRowsRecursively(nullptr, 0);
    const auto registry = bk2::interface_cast<dataface1::IFilterRegistry>(open.profile.input);
    const auto select = [&] {
        if (grid->processRowSelection(0, 0, SelectAll).failed()) std::abort();
        if (registry->setQueryFilter("selection", grid->popSelectionState().filter).failed()) std::abort();
    };
    TreePtr tree;
    for (auto _ : state)
        timeOnce(state, select, [&] {
            tree = open.profile.tree("/Module", slicerkit1::query_flat_profile, {"/Metrics"}, "selection");
        });
    countRows(state, static_cast<std::size_t>(grid->getRowCount()));
}

void refreshUnderDeep(benchmark::State& state) {
    refreshUnderSelection(state, deep(argument(state)));
}
void refreshUnderWide(benchmark::State& state) {
    refreshUnderSelection(state, wide(argument(state)));
}

void saveState(benchmark::State& state) {
    const auto grid = makeGrid(deepTree(argument(state)), GridTopDown);
    grid->expandRowsRecursively(nullptr, 0);
    for (auto _ : state) {
        GridRowState saved;
        grid->saveGridRowState(saved, nullptr);
        benchmark::DoNotOptimize(saved.focusLevel);
    }
    countRows(state, static_cast<std::size_t>(grid->getRowCount()));
}

void restoreState(benchmark::State& state) {
    const TreePtr tree = deepTree(argument(state));
    auto grid = makeGrid(tree, GridTopDown);
    grid->expandRowsRecursively(nullptr, 0);
    const int rows = grid->getRowCount();
    GridRowState saved, wanted;
    grid->saveGridRowState(saved, nullptr);
    for (auto _ : state) {
        timeOnce(
            state,
            [&] {
                grid = makeGrid(tree, GridTopDown);
                wanted = saved;
            },
            [&] { grid->restoreGridRowState(std::move(wanted), nullptr); });
        if (grid->getRowCount() != rows) std::abort();
    }
    countRows(state, static_cast<std::size_t>(rows));
}

constexpr std::size_t large_row_children = 10'000;

/// A tree of a million rows one of which has 10,000 children and, by self weight, stands in the middle.
TreePtr treeWithLargeRow() {
    static const TreePtr tree = [] {
        constexpr engine::CallsiteIndex rows = 1'000'000, large_row = 500'000;
        std::mt19937 random(1);
        engine::ProfileData data = makeTables(rows, 1);
        for (engine::CallsiteIndex node = 1; node <= rows + large_row_children; ++node) {
            data.callsite_parents.push_back(node <= rows ? 0 : large_row);
            data.callsite_functions.push_back(1 + (node - 1) % rows);
            addSample(data, node, random);
        }
        data.metrics.front().integers[large_row - 1] = largest_weight / 2;
        return OpenProfile(std::move(data)).tree("/CallStack", slicerkit1::query_top_down, {"/Metrics"});
    }();
    return tree;
}

int findLargeRow(const GridModel& grid) {
    for (int row = 0; row < grid.getRowCount(); ++row)
        if (!childrenOf(grid.getRowByIndex(row))->at_end()) return row;
    std::abort();
}

void openLargeRow(benchmark::State& state) {
    const auto grid = makeGrid(treeWithLargeRow(), GridTopDown);
    if (grid->sort({2, true}).failed()) std::abort();
    const int row = findLargeRow(*grid);
    grid->expandRow(row, true, nullptr);
    for (auto _ : state)
        timeOnce(
            state, [&] { grid->expandRow(row, false, nullptr); },
            [&] { grid->expandRow(row, true, nullptr); });
    countRows(state, large_row_children);
    state.counters["row"] = row;
}

/// Sorting the children, and one move of the rows behind the middle of a million.
void bareSortAndInsert(benchmark::State& state) {
    std::mt19937 random(1);
    std::vector<Record> rows(1'000'000);
    std::vector<std::pair<double, std::uint32_t>> unsorted(large_row_children);
    for (std::uint32_t i = 0; i < large_row_children; ++i)
        unsorted[i] = {static_cast<double>(random()), i};
    rows.reserve(rows.size() + large_row_children);
    for (auto _ : state)
        timeOnce(
            state, [&] { rows.resize(1'000'000); },
            [&] {
                auto sorted = unsorted;
                std::sort(sorted.begin(), sorted.end());
                std::vector<Record> added;
                for (const auto& [number, index] : sorted)
                    added.push_back({0, 1, &unsorted[index]});
                rows.insert(rows.begin() + 500'000, added.begin(), added.end());
            });
    countRows(state, large_row_children);
}

std::size_t bytesInUse() {
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

/// Tree and grid of a million rows that were never opened. The profile itself is not counted: it was there
/// before.
double bytesOfRow(int metrics) {
    constexpr std::size_t rows = 1'000'000;
    const OpenProfile profile(makeWideProfile(rows, static_cast<std::size_t>(metrics)));
    const auto query = [&] {
        return profile.tree("/Function", slicerkit1::query_flat_profile, {"/Metrics"});
    };
    makeGrid(query(), GridFlatProfile); // what the store works out on first use
    const std::size_t before = bytesInUse();
    const auto grid = makeGrid(query(), GridFlatProfile);
    if (grid->getRowCount() != static_cast<int>(rows)) std::abort();
    return static_cast<double>(bytesInUse() - before) / static_cast<double>(rows);
}

} // namespace

#define FOR_ALL_SIZES(name)                                                                                  \
    BENCHMARK(name)->Arg(10'000)->Arg(100'000)->Arg(1'000'000)->Unit(benchmark::kMillisecond)

FOR_ALL_SIZES(preorderPass);
FOR_ALL_SIZES(expandAll)->UseManualTime();
FOR_ALL_SIZES(collapseAll)->UseManualTime();
FOR_ALL_SIZES(bareClose)->UseManualTime();
FOR_ALL_SIZES(sortOpenTree);
FOR_ALL_SIZES(bareSortGroups);
FOR_ALL_SIZES(selectAllDeep);
FOR_ALL_SIZES(selectAllWide);
FOR_ALL_SIZES(refreshUnderDeep)->UseManualTime();
FOR_ALL_SIZES(refreshUnderWide)->UseManualTime();
FOR_ALL_SIZES(saveState);
FOR_ALL_SIZES(restoreState)->UseManualTime();
BENCHMARK(openLargeRow)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(bareSortAndInsert)->UseManualTime()->Unit(benchmark::kMillisecond);

int main(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    RatioReport report;
    benchmark::RunSpecifiedBenchmarks(&report);
    for (const char* rows : {"/10000", "/100000", "/1000000"})
        report.check(std::string("expandAll") + rows, std::string("preorderPass") + rows, 5);
    report.check("openLargeRow", "bareSortAndInsert", 5);
    for (const char* name : {"expandAll", "collapseAll", "sortOpenTree", "selectAllDeep", "selectAllWide",
                             "saveState", "restoreState"}) {
        report.checkGrowth(name, 10'000, 100'000, 1.25);
        report.checkGrowth(name, 100'000, 1'000'000, 1.25);
    }
    for (const auto& [name, beside] :
         {std::pair("collapseAll", "bareClose"), std::pair("sortOpenTree", "bareSortGroups")}) {
        report.checkGrowth(name, beside, 10'000, 100'000, 1.25);
        report.checkGrowth(name, beside, 100'000, 1'000'000, 1.25);
    }
    report.print("bytes a row, 1 metric", bytesOfRow(1), 160);
    report.print("bytes a row, 2 metrics", bytesOfRow(2), 160);
    report.print("bytes a row, 5 metrics", bytesOfRow(5), 160);
    return report.allReached() ? 0 : 1;
}
