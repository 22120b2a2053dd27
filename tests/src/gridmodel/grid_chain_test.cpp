// How stretches of single calls are folded into one row.

#include "gridmodel/gridmodel.h"
#include "support/fake_table_tree.h"

#include <gtest/gtest.h>

#include <limits>

namespace panedeck::tests {
namespace {

/// The rows of a call tree with chains shown, all open: "-main|5" and so on, indented. Two data columns; the
/// second one is split into two parts.
class ChainedGrid {
public:
    explicit ChainedGrid(const std::string& text, GridType type = GridTopDown, bool recursive = true)
        : model(bk2::make_sptr<GridModel>(type, nullptr, nullptr, nullptr)) {
        const auto level = bk2::make_sptr<FakeInfoQuery>("/CallStack");
        if (recursive) level->recursion = "runs on";
        const auto metric = makeMetric("cycles");
        std::vector<fake_column_t> columns{{metric}};
        if (text.find("|3|") != std::string::npos) // a second column, and one that it is split into
            columns.push_back({metric, dataface1::column_data, "", {{metric}}});
        tree = makeTree(columns, text, {level});
    }

    std::string show() {
        GridViewParams params;
        params.grouping = "/CallStack";
        EXPECT_TRUE(model->init(tree, params, KeepStackMode, {}, nullptr).succeeded());
        model->toggleStackMode(ChainMode, nullptr);
        model->expandRowsRecursively(nullptr, 0);
        EXPECT_EQ(model->verify(), "");
        std::string result;
        for (int row = 0; row < model->getRowCount(); ++row)
            result += std::string(static_cast<std::size_t>(model->getRowLevel(row)) * 2, ' ') +
                      "+- "[model->getRowState(row)] +
                      bk2::get_value_string(model->getCellContentByIndex(row, 0)) + "|" +
                      bk2::get_value_string(model->getCellContentByIndex(row, 1)) + "\n";
        return result;
    }

    bk2::sptr_t<GridModel> model;
    bk2::sptr_t<FakeTableTree> tree;
};

TEST(GridChains, FoldSingleChildrenWithTheSameNumbers) {
    const struct {
        const char* about;
        std::string text, shown;
        GridType type = GridTopDown;
        bool recursive = true;
    } cases[] = {
        {"a leaf", "a|1", " a|1\n"},
        {"two children", "a|3\n  b|1\n  c|2", "-a|3\n   c|2\n   b|1\n"},
        {"a chain to a leaf", "a|3\n  b|3\n    c|3", " ↘ a → b → c|3\n"},
        {"a chain to a fork", "a|3\n  b|3\n    c|1\n    d|2", "-↘ a → b|3\n   d|2\n   c|1\n"},
        {"other numbers: a chain of one row", "a|3\n  b|2", "-↘ a|3\n   b|2\n"},
        {"a second chain below", "a|3\n  b|2\n    c|2", "-↘ a|3\n   ↘ b → c|2\n"},
        {"bottom-up", "a|3\n  b|3", " ↖ a ← b|3\n", GridBottomUp},
        {"no recursion", "a|3\n  b|3", "-a|3\n   b|3\n", GridTopDown, false},
        {"another column is the same", "a|3|1|1\n  b|3|1|1", " ↘ a → b|3\n"},
        {"another column differs", "a|3|1|1\n  b|3|2|1", "-↘ a|3\n   b|3\n"},
        {"a part of a column differs", "a|3|1|1\n  b|3|1|2", "-↘ a|3\n   b|3\n"},
        {"a cell without value is like none", "a|3|1|\n  b|3|1|", "-↘ a|3\n   b|3\n"},
    };
    for (const auto& [about, text, shown, type, recursive] : cases)
        EXPECT_EQ(ChainedGrid(text, type, recursive).show(), shown) << about;
}

TEST(GridChains, ARowIsLikeItselfWhateverItsNumbers) {
    ChainedGrid grid("a|1\n  b|1");
    for (const char* name : {"a", "b"})
        grid.tree->row(name).cells[1] = bk2::variant_t(std::numeric_limits<double>::quiet_NaN());
    EXPECT_EQ(grid.show().substr(0, 7), "-↘ a|") << "what is no number is like nothing else";
}

TEST(GridChains, TheirTextEndsAndTheirRowsDoNot) {
    ChainedGrid grid("");
    FakeRow* below = nullptr;
    for (int i = 0; i < 2000; ++i)
        below = &grid.tree->addRow(below, "f", {bk2::variant_t(1)});
    grid.tree->addRow(below, "last", {bk2::variant_t(0)});
    const std::string shown = grid.show();
    const std::string first = shown.substr(0, shown.find('\n'));
    EXPECT_GT(first.size(), 1000u);
    EXPECT_LT(first.size(), 1030u);
    EXPECT_TRUE(first.ends_with(" → f ...|1")) << first;
    EXPECT_TRUE(shown.ends_with("\n   last|0\n")) << shown;
}

TEST(GridChains, AreFoundByWhatTheyShowAndByTheirFrames) {
    const std::string text = "a|9\n  b|9\n    b|5\n    c|4\n      d|4\nb|3\n  c|3";
    const struct {
        std::vector<const char*> path;
        const char* found;
    } cases[] = {
        {{"↘ a → b"}, "↘ a → b"},     {{"↘ a → b", "b"}, "b"}, {{"a"}, "↘ a → b"},
        {{"a", "b"}, "↘ a → b"},      {{"a", "b", "b"}, "b"},  {{"a", "b", "c", "d"}, "↘ c → d"},
        {{"b", "c"}, "↘ b → c"},      {{"a", "c"}, "↘ a → b"}, // leads nowhere: the first row
        {{"b", "c", "d"}, "↘ a → b"},
    };
    for (const auto& [path, found] : cases) {
        ChainedGrid grid(text);
        grid.show();
        grid.model->collapseAllRows(nullptr);
        GridViewParams params;
        params.startRow = 0;
        params.rowCount = 100;
        for (const char* name : path)
            params.focusRowReferences.push_back({"name", bk2::variant_t(name)});
        ASSERT_TRUE(grid.model->validateAndSetViewParams(params));
        int row = -1;
        EXPECT_TRUE(grid.model->findRow(row).succeeded());
        EXPECT_EQ(grid.model->getCellContentByIndex(row, 0).text(), found) << path.back();
    }
}

} // namespace
} // namespace panedeck::tests
