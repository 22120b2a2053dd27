#include "gridmodel/column_set.h"
#include "support/fake_table_tree.h"

#include <gtest/gtest.h>

namespace panedeck::tests {
namespace {

using bk2::variant_t;
using dataface1::query_value_type_t;

constexpr std::uint32_t data = dataface1::column_data;

std::string printed(const ColumnHierarchy& hierarchy) {
    std::string text;
    for (const auto& node : hierarchy.children) {
        text += std::to_string(node.dataIndex) + (node.isCollapsed ? "+" : "-");
        if (!node.children.empty()) text += "(" + printed(node) + ")";
    }
    return text;
}

std::string printed(const GridColumns& columns) {
    std::string text;
    for (const auto& column : columns)
        text += std::to_string(column->getIndex()) + " ";
    return text;
}

/// The columns 0, 1 (2, 3 (4)), 5; the first with children is open.
class ColumnSetTest : public testing::Test {
protected:
    ColumnSetTest() {
        open->attributes["expand"] = variant_t(true);
        build();
    }

    void build(notifykit2::IProgress* progress = nullptr) {
        columns.clear();
        hierarchy = {};
        const auto tree = makeTree(
            {{open,
              data,
              "",
              {{total, data | dataface1::column_total, "", {{time}}}, {makeMetric("n"), data, "", {{time}}}}},
             {bytes}},
            "main | 1 | 90 | 2 | 3 | 4 | 800");
        GridColumnContext context;
        context.helper = dataface1::createTableTreeHelper(tree);
        buildColumns(tree->getColumns(nullptr), context, columns, hierarchy, progress);
    }

    std::string visible() {
        GridColumns result;
        getVisibleColumns(columns, hierarchy, result);
        return printed(result);
    }

    bk2::sptr_t<FakeQuery> open = makeMetric("open");
    bk2::sptr_t<FakeQuery> total = makeMetric("total");
    bk2::sptr_t<FakeQuery> time = makeMetric("time", query_value_type_t::time);
    bk2::sptr_t<FakeQuery> bytes = makeMetric("bytes", query_value_type_t::bytes);
    GridColumns columns;
    ColumnHierarchy hierarchy;
};

TEST_F(ColumnSetTest, IsThePreorderOfTheColumnTree) {
    EXPECT_EQ(printed(hierarchy), "0+1-(2+(3+)4+(5+))6+");
    EXPECT_EQ(printed(columns), "0 1 2 3 4 5 6 ");
    EXPECT_EQ(hierarchy.dataIndex, -1);
}

TEST_F(ColumnSetTest, LeavesHiddenTotalsOutWithTheirChildren) {
    total->attributes["hideTotal"] = variant_t(true);
    bytes->attributes["hideTotal"] = variant_t(true);
    build();
    EXPECT_EQ(printed(hierarchy), "0+1-(2+(3+))4+") << "the last one is no total";
}

TEST_F(ColumnSetTest, StopsBuildingWhenCancelled) {
    const auto progress = notifykit2::IDevNullProgress::create();
    progress->cancel();
    build(progress.get());
    EXPECT_TRUE(columns.empty());
}

TEST_F(ColumnSetTest, ShowsOpenColumnsByTheirChildren) {
    EXPECT_EQ(visible(), "0 2 4 6 ");
    ColumnHierarchy& node = hierarchy.children[1];
    node.children[1].isCollapsed = false;
    EXPECT_EQ(visible(), "0 2 5 6 ");
    node.isCollapsed = true;
    EXPECT_EQ(visible(), "0 1 6 ");
    node.isHidden = true;
    EXPECT_EQ(visible(), "0 6 ");
    node.isCollapsed = false;
    EXPECT_EQ(visible(), "0 6 ") << "what is hidden hides what is below";
    hierarchy.children[0].dataIndex = 7;
    hierarchy.children[2].dataIndex = -1;
    EXPECT_EQ(visible(), "");
}

TEST_F(ColumnSetTest, GivesFormatsToDataColumnsOnly) {
    hierarchy.children[0].format = "number";
    hierarchy.children[1].children[0].format = "percent";
    hierarchy.children[2].format = "number";
    hierarchy.children[2].dataIndex = 99;
    updateColumnFormat(columns, hierarchy);
    EXPECT_EQ(columns[0]->getFormat(), "text");
    EXPECT_EQ(columns[2]->getFormat(), "percent") << "permitted though it is not offered";
    EXPECT_EQ(columns[6]->getFormat(), "bytes");
}

TEST_F(ColumnSetTest, ScalesColumnsOfOneUnitAlike) {
    propagateColumnMaxValues(columns);
    for (const int index : {1, 2, 4})
        EXPECT_EQ(columns[index]->getMaxPerUnitOfMeasure(), variant_t(bk2::s64_t(90))) << index;
    for (const int index : {3, 5})
        EXPECT_EQ(columns[index]->getMaxPerUnitOfMeasure(), variant_t(bk2::s64_t(4))) << index;
    EXPECT_EQ(columns[6]->getMaxPerUnitOfMeasure(), variant_t(bk2::s64_t(800)));
    EXPECT_TRUE(columns[0]->getMaxPerUnitOfMeasure().is_null());

    bytes->type = query_value_type_t::time;
    bytes->attributes["timeUnit"] = variant_t(1e-3);
    time->attributes["timeUnit"] = variant_t(0.1);
    build();
    propagateColumnMaxValues(columns);
    EXPECT_EQ(columns[6]->getMaxPerUnitOfMeasure(), variant_t(bk2::s64_t(800))) << "milliseconds";
    EXPECT_DOUBLE_EQ(columns[3]->getMaxPerUnitOfMeasure().get<double>(), 8) << "the same in tenths";
}

TEST_F(ColumnSetTest, KnowsWhetherRowsHaveBaseRows) {
    const auto unit = bk2::make_sptr<FakeInfoQuery>("/Package");
    const auto tree = makeTree({{bytes, data, "", {}, variant_t(bk2::s64_t(100))}}, "pkg | 40\n  main | 30",
                               {unit, bk2::make_sptr<FakeInfoQuery>("/Function")});
    for (const bool distinct : {false, true}) {
        unit->attributes["unitDistinctQuery"] = variant_t(distinct);
        columns.clear();
        buildColumns(tree->getColumns(nullptr), {}, columns, hierarchy, nullptr);
        const variant_t base = columns[1]->percentBase(tree->row("main"), "percent");
        EXPECT_EQ(base, variant_t(bk2::s64_t(distinct ? 40 : 100)));
    }
}

TEST_F(ColumnSetTest, TakesHierarchiesOfAnyDepth) {
    ColumnHierarchy deep;
    ColumnHierarchy* node = &deep;
    for (int depth = 0; depth < 200000; ++depth) {
        node->children.resize(1);
        node = &node->children.front();
        node->isCollapsed = false;
    }
    node->dataIndex = 6;
    node->format = "count";
    hierarchy = deep;
    updateColumnFormat(columns, hierarchy);
    EXPECT_EQ(visible(), "6 ");
    EXPECT_EQ(columns[6]->getFormat(), "count");
}

} // namespace
} // namespace panedeck::tests
