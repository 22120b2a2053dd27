// What opening and closing rows leaves as it was, and what it must not leave.

#include "gridmodel/grid_bags.h"
#include "gridmodel/gridmodel.h"
#include "support/checkpoints.h"
#include "support/fake_table_tree.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <thread>

namespace panedeck::tests {
namespace {

using bk2::variant_bag_t;
using bk2::variant_t;

std::vector<bk2::sptr_t<dataface1::IQuery>> callStack() {
    const auto level = bk2::make_sptr<FakeInfoQuery>("/CallStack");
    level->recursion = "runs on";
    return {level};
}

fake_column_t cycles() {
    return {makeMetric("cycles"), dataface1::column_data | dataface1::column_self};
}

bk2::error_code_t refresh(GridModel& model, const bk2::sptr_t<FakeTableTree>& tree,
                          notifykit2::IProgress* progress = nullptr,
                          const std::string& grouping = "/CallStack") {
    GridViewParams params;
    params.grouping = grouping;
    params.startRow = 0;
    params.rowCount = 100;
    return model.init(tree, params, KeepStackMode, {}, progress);
}

bk2::sptr_t<GridModel> makeGrid(const bk2::sptr_t<FakeTableTree>& tree) {
    const auto model = bk2::make_sptr<GridModel>(GridTopDown, nullptr, nullptr, nullptr);
    EXPECT_TRUE(refresh(*model, tree).succeeded());
    return model;
}

int rowOf(const GridModel& model, const std::string& name) {
    for (int row = 0; row < model.getRowCount(); ++row)
        if (model.getCellContentByIndex(row, 0).text() == name) return row;
    return -1;
}

/// Each row's switch and name, with one blank before it for each level.
std::string show(const GridModel& model) {
    std::string text;
    for (int row = 0; row < model.getRowCount(); ++row)
        text += std::string(static_cast<std::size_t>(model.getRowLevel(row)), ' ') +
                "+-."[model.getRowState(row)] + bk2::get_value_string(model.getCellContentByIndex(row, 0)) +
                "\n";
    return text;
}

TEST(GridExpansion, RowsThatStayKeepTheirOrderAndState) {
    const struct {
        const char* name;
        std::function<void(GridModel&)> run;
        const char* shown;
    } cases[] = {
        {"collapse all", [](GridModel& grid) { grid.collapseAllRows(nullptr); }, "+c\n+b\n+a\n"},
        {"expand selected",
         [](GridModel& grid) {
             (void)grid.processRowSelection(rowOf(grid, "a"), 0, SelectSetSingle);
             grid.expandSelectedRows(nullptr);
         },
         "+c\n-b\n +z\n-a\n +y\n +x\n"},
        {"expand all", [](GridModel& grid) { grid.expandRowsRecursively(nullptr, 0); },
         ".c\n-b\n .z\n-a\n .y\n .x\n"},
    };
    for (const auto& [name, run, shown] : cases) {
        const auto tree = makeTree({cycles()}, "a | 1\n  x | 1\n  y | 2\nb | 2\n  z | 2\nc | 3", callStack());
        const auto grid = makeGrid(tree);
        grid->expandRow(rowOf(*grid, "b"), true, nullptr);
        // A leaf that is closed looks as if it could be opened, until it is.
        grid->expandRow(rowOf(*grid, "c"), true, nullptr);
        ASSERT_EQ(show(*grid), ".c\n-b\n +z\n+a\n");
        grid->expandRow(rowOf(*grid, "c"), false, nullptr);
        ASSERT_EQ(show(*grid), "+c\n-b\n +z\n+a\n");
        // Rows that are sorted again would show it.
        tree->row("a").cells[1] = variant_t(9);
        run(*grid);
        EXPECT_EQ(grid->verify(), "") << name;
        EXPECT_EQ(show(*grid), shown) << name;
    }
}

TEST(GridExpansion, ARefreshSortsByTheFormatThatWasChosen) {
    auto share = cycles();
    share.query = makeMetric("cycles");
    const auto base = makeMetric("base");
    dynamic_cast<FakeQuery&>(*share.query).percentBases = {base};
    const auto newTree = [&] {
        const auto tree = makeTree({share}, "a | 1\nb | 2\nc | 3", callStack());
        for (const auto& [name, whole] : {std::pair("a", 1), std::pair("b", 4), std::pair("c", 4)})
            tree->row(name).otherContents[{1, dataface1::cell_percent_base}] = variant_t(whole);
        return tree;
    };
    const auto grid = makeGrid(newTree());
    ColumnHierarchy hierarchy;
    hierarchy.children.resize(2);
    hierarchy.children[0].dataIndex = 0;
    hierarchy.children[1].dataIndex = 1;
    hierarchy.children[1].format = "percent_by";
    grid->updateColumnState(hierarchy);
    EXPECT_TRUE(grid->sort({1, true}).succeeded());
    ASSERT_EQ(show(*grid), "+a\n+c\n+b\n");
    EXPECT_TRUE(refresh(*grid, newTree()).succeeded());
    EXPECT_EQ(show(*grid), "+a\n+c\n+b\n");
}

/// Runs `meanwhile` with the model's lock while `run` waits in the read of a row's children.
void runWhileReading(GridModel& grid, FakeRow& row, const std::function<void()>& run,
                     const std::function<void()>& meanwhile) {
    Checkpoints checkpoints;
    bool isFirst = true;
    row.whileReading = [&] {
        if (std::exchange(isFirst, false)) checkpoints.pass("reading");
    };
    std::thread reader([&] {
        GridModel::Lock lock(&grid);
        run();
    });
    checkpoints.waitFor("reading");
    {
        GridModel::Lock lock(&grid);
        meanwhile();
    }
    checkpoints.open("reading");
    reader.join();
    row.whileReading = [] {};
}

TEST(GridExpansion, HitsFoundWhileRowsAreReadGoWithThem) {
    const std::pair<const char*, std::function<void(GridModel&)>> operations[] = {
        {"expand", [](GridModel& grid) { grid.expandRow(0, true, nullptr); }},
        {"expand all", [](GridModel& grid) { grid.expandRowsRecursively(nullptr, 0); }},
        {"expand selected", [](GridModel& grid) { grid.expandSelectedRows(nullptr); }},
    };
    for (const auto& [name, run] : operations) {
        const auto tree = makeTree({cycles()}, "a | 2\n  x | 1\nb | 1", callStack());
        const auto grid = makeGrid(tree);
        (void)grid->processRowSelection(0, 0, SelectSetSingle);
        runWhileReading(
            *grid, tree->row("a"), [&] { run(*grid); },
            [&] {
                variant_bag_t row, found;
                grid->saveRegularRowToVBag(0, row);
                EXPECT_EQ(row.begin<variant_bag_t>().get_value().get_variant("state").text(), "w") << name;
                EXPECT_TRUE(grid->search("b", found, nullptr).succeeded());
                EXPECT_FALSE(found.is_empty());
            });
        variant_bag_t answer;
        grid->saveSearchResultToVBag(answer);
        EXPECT_TRUE(answer.is_empty()) << name;
        EXPECT_EQ(rowOf(*grid, "b"), 2) << name;
    }
}

TEST(GridChains, ModeAndRowsAgreeWhileChainsAreRead) {
    const char program[] = "a | 2\n  b | 2\n    c | 2\nd | 1\n  e | 1";
    const auto tree = makeTree({cycles()}, program, callStack());
    const auto grid = makeGrid(tree);
    runWhileReading(
        *grid, tree->row("a"), [&] { grid->toggleStackMode(ChainMode, nullptr); },
        [&] {
            tree->row("d").atHand = true;
            grid->expandRow(1, true, nullptr);
            EXPECT_EQ(show(*grid), "+a\n-d\n +e\n");
        });
    EXPECT_EQ(show(*grid), "+↘ a → b → c\n.↘ d → e\n") << "the row that was open has nothing below it now";
}

/// Is cancelled from the first time on that it is asked once `isOn`.
class Switch : public bk2::ref_counted_t<Switch, bk2::mt_ref_count_impl_t, notifykit2::IProgress> {
public:
    void start(const std::string&, std::uint64_t) override {}
    void advance_to(std::uint64_t) override {}
    void cancel() override { isOn = true; }
    bool is_canceled() const override { return isOn; }
    bool isOn = false;
};

TEST(GridChains, ACancelEndsTheReading) {
    LogCapture silent(static_cast<logkit1::level_t>(50000));
    const auto tree = makeTree({cycles()}, "a | 2\n  b | 2\n    c | 2\n      d | 2", callStack());
    const auto grid = makeGrid(tree);
    const auto canceled = bk2::make_sptr<Switch>();
    tree->row("b").whileReading = [&] { canceled->isOn = true; };
    tree->row("c").whileReading = [] { ADD_FAILURE() << "it was cancelled before"; };
    grid->toggleStackMode(ChainMode, canceled.get());
    EXPECT_EQ(show(*grid), "+a\n");
    tree->row("b").whileReading = tree->row("c").whileReading = [] {};
    grid->toggleStackMode(ChainMode, nullptr);
    EXPECT_EQ(show(*grid), "+↘ a → b → c → d\n") << "the mode had stayed what it was";
}

TEST(GridChains, ARefreshKeepsAModeThatWasChangedMeanwhile) {
    const char program[] = "a | 3\n  b | 3\nd | 2\n  e | 1\n    g | 1\n    h | 0\n  f | 1";
    const auto grid = makeGrid(makeTree({cycles()}, program, callStack()));
    grid->toggleStackMode(ChainMode, nullptr);
    for (const char* name : {"d", "e"})
        grid->expandRow(rowOf(*grid, name), true, nullptr);
    // Folding does not look below the row that is open in another; opening it again does.
    const auto tree = makeTree({cycles()}, program, callStack());
    GridViewParams params;
    params.grouping = "/CallStack";
    runWhileReading(
        *grid, tree->row("e"), [&] { (void)grid->init(tree, params, ChainMode, {}, nullptr); },
        [&] {
            tree->row("e").atHand = true; // what is not would wait for the read to end
            grid->toggleStackMode(TreeMode, nullptr);
        });
    EXPECT_EQ(rowOf(*grid, "a"), 0) << "not folded:\n" << show(*grid);
    grid->toggleStackMode(ChainMode, nullptr);
    EXPECT_EQ(rowOf(*grid, "↘ a → b"), 0) << "folded:\n" << show(*grid);
}

TEST(GridChains, ReadNoFurtherThanTheyFold) {
    LogCapture silent(static_cast<logkit1::level_t>(50000));
    constexpr int depth = 2000;
    const auto tree = makeTree({cycles()}, "", callStack());
    std::size_t reads = 0;
    FakeRow* above = nullptr;
    for (int level = 0; level < depth; ++level) {
        above = &tree->addRow(above, "f", {variant_t(depth - level)});
        above->whileReading = [&] { ++reads; };
    }
    const auto grid = makeGrid(tree);
    grid->toggleStackMode(ChainMode, nullptr);
    grid->expandRowsRecursively(nullptr, 0);
    EXPECT_EQ(grid->getRowCount(), depth);
    EXPECT_LT(reads, 10u * depth);
}

/// A result that tells its version only.
class VersionedInput
    : public bk2::ref_counted_t<VersionedInput, bk2::mt_ref_count_impl_t, dataface1::IInputData> {
public:
    explicit VersionedInput(std::string version) : m_info(bk2::make_sptr<Info>(std::move(version))) {}
    bk2::sptr_t<dataface1::IResultInfo> getResultInfo() const override { return m_info; }

private:
    class Info : public bk2::ref_counted_t<Info, bk2::mt_ref_count_impl_t, dataface1::IResultInfo> {
    public:
        explicit Info(std::string version) : m_version(std::move(version)) {}
        std::string getVersionText() const override { return m_version; }
        std::string getResultName() const override { return m_version; }

    private:
        std::string m_version;
    };
    bk2::sptr_t<Info> m_info;
};

TEST(GridChains, AreKnownByTheirFirstRowInTwoResults) {
    for (const bool hasSecond : {false, true}) {
        const auto input = bk2::make_sptr<VersionedInput>("1");
        const auto second = hasSecond ? bk2::make_sptr<VersionedInput>("2") : nullptr;
        const auto grid = bk2::make_sptr<GridModel>(GridTopDown, nullptr, input, second);
        EXPECT_TRUE(refresh(*grid, makeTree({cycles()}, "a | 2\n  b | 2", callStack())).succeeded());
        grid->toggleStackMode(ChainMode, nullptr);
        variant_bag_t row;
        grid->saveRegularRowToVBag(0, row);
        const variant_t id = row.begin<variant_bag_t>().get_value().get_variant("objectid");
        EXPECT_EQ(id, hasSecond ? variant_t("a") : variant_t(1));
    }
}

TEST(GridRestoration, WhatIsDoneAfterACancelCountsMore) {
    const auto newTree = [] {
        return makeTree({cycles()}, "a | 3\n  x | 1\n    p | 1\nb | 2\n  y | 1\n    q | 1\nc | 1",
                        callStack());
    };
    const struct {
        const char* name;
        std::function<void(GridModel&)> run;
        const char* shown;
        const char* current;
    } cases[] = {
        {"nothing", [](GridModel&) {}, "-a\n -x\n  +p\n-b\n -y\n  +q\n+c\n", "y"},
        {"another row is selected",
         [](GridModel& grid) { (void)grid.processRowSelection(rowOf(grid, "c"), 0, SelectSetSingle); },
         "-a\n -x\n  +p\n-b\n -y\n  +q\n+c\n", "c"},
        {"a row is closed", [](GridModel& grid) { grid.expandRow(rowOf(grid, "a"), false, nullptr); },
         "+a\n-b\n -y\n  +q\n+c\n", "y"},
        {"all rows are closed", [](GridModel& grid) { grid.collapseAllRows(nullptr); }, "+a\n+b\n+c\n", "b"},
    };
    for (const auto& [name, run, shown, current] : cases) {
        const auto grid = makeGrid(newTree());
        grid->expandRowsRecursively(nullptr, 2);
        (void)grid->processRowSelection(rowOf(*grid, "y"), 0, SelectSetSingle);
        // Cancelled when the first level is open again.
        const auto canceled = bk2::make_sptr<Switch>();
        const auto tree = newTree();
        tree->row("x").whileReading = [&] { canceled->isOn = true; };
        EXPECT_TRUE(refresh(*grid, tree, canceled.get()).is_canceled());
        ASSERT_EQ(show(*grid), "-a\n +x\n-b\n +y\n+c\n");
        run(*grid);
        EXPECT_TRUE(refresh(*grid, newTree()).succeeded());
        EXPECT_EQ(show(*grid), shown) << name;
        EXPECT_EQ(grid->getCurrentRow(), rowOf(*grid, current)) << name;
    }
}

TEST(RowSorting, EndsWhereARangeLeavesItsLevel) {
    const auto grid = makeGrid(makeTree({cycles()}, "a | 4\n  x | 1\n  y | 2\nb | 3\n  z | 1", callStack()));
    grid->expandRowsRecursively(nullptr, 0);
    EXPECT_TRUE(grid->sort({0, false}).succeeded());
    ASSERT_EQ(show(*grid), "-a\n .x\n .y\n-b\n .z\n");
    EXPECT_TRUE(grid->sort({1, true}).succeeded());
    grid->sortRows(1, 5);
    EXPECT_EQ(show(*grid), "-a\n .y\n .x\n-b\n .z\n");
    EXPECT_EQ(grid->verify(), "");
    EXPECT_EQ(grid->calcSubItems(-1), 0);
}

} // namespace
} // namespace panedeck::tests
