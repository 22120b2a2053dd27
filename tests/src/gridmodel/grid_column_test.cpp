#include "gridmodel/bars.h"
#include "gridmodel/gridcolumn.h"
#include "gridmodel/percent_base.h"
#include "support/fake_table_tree.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <set>

namespace panedeck::tests {
namespace {

using bk2::variant_bag_t;
using bk2::variant_t;
using dataface1::query_value_type_t;

constexpr std::uint32_t data = dataface1::column_data;
constexpr std::uint32_t self = data | dataface1::column_self;
constexpr std::uint32_t total = data | dataface1::column_total;

const portkit2::catalog_t catalog({[](const std::string& id) -> std::optional<ustring8> {
    if (id == "%count") return "Count";
    return id == "%percent_by" ? std::optional<ustring8>("Percent of %1") : std::nullopt;
}});

GridColumn makeColumn(const bk2::sptr_t<FakeTableTree>& tree, std::size_t index) {
    return GridColumn(static_cast<int>(index), &tree->column(index), dataface1::createTableTreeHelper(tree),
                      "r1", "", &catalog);
}

std::string text(const variant_bag_t& bag, const char* name) {
    return bk2::get_value_string(bag.get_variant(name));
}

/// A thread's share of a metric.
bk2::sptr_t<FakeInfoQuery> makeShare(const char* thread) {
    const auto query = bk2::make_sptr<FakeInfoQuery>("/Thread");
    query->restrictions.push_back({nullptr, variant_t(thread)});
    return query;
}

/// A metric expanded by two threads, then two results with their difference.
bk2::sptr_t<FakeTableTree> expandedTree(const bk2::sptr_t<FakeQuery>& metric, const std::string& rows = "") {
    return makeTree(
        {{metric,
          total,
          "cycles",
          {{makeShare("t1"), total, "", {}, {}, variant_t(bk2::u32_t(7))}, {makeShare("t2"), total}}},
         {metric,
          self,
          "cycles self[UNIT s]",
          {{metric, self | dataface1::column_first},
           {metric, self | dataface1::column_second},
           {metric, self | dataface1::column_difference}}}},
        rows);
}

TEST(GridColumn, TakesItsUnitFromTheQuery) {
    const struct {
        query_value_type_t type;
        unit_of_measure_t unit;
    } cases[] = {
        {query_value_type_t::time, unit_of_measure_t::time},
        {query_value_type_t::count, unit_of_measure_t::count},
        {query_value_type_t::bytes, unit_of_measure_t::bytes},
        {query_value_type_t::number, unit_of_measure_t::none},
        {query_value_type_t::address, unit_of_measure_t::none},
        {query_value_type_t::text, unit_of_measure_t::none},
        {query_value_type_t::integer, unit_of_measure_t::none},
    };
    for (const auto& [type, unit] : cases) {
        const auto tree = expandedTree(makeMetric("m", type));
        EXPECT_EQ(makeColumn(tree, 1).getUnitOfMeasure(), unit) << int(type);
        EXPECT_EQ(makeColumn(tree, 2).getUnitOfMeasure(), unit) << "a share has the unit of the metric";
        EXPECT_EQ(makeColumn(tree, 0).getUnitOfMeasure(), unit_of_measure_t::none);
    }
}

TEST(GridColumn, CollapsesUnlessToldOtherwise) {
    const auto metric = makeMetric("m");
    const auto child = makeMetric("child");
    const auto tree = makeTree({{metric, data, "", {{child}}}}, "");
    EXPECT_TRUE(makeColumn(tree, 1).isCollapsible());
    EXPECT_TRUE(makeColumn(tree, 2).isCollapsible()) << "children are not needed";
    child->attributes["unitDistinctQuery"] = variant_t(true);
    EXPECT_FALSE(makeColumn(tree, 1).isCollapsible());
    child->attributes["allowCollapse"] = variant_t(false);
    EXPECT_FALSE(makeColumn(tree, 2).isCollapsible());
}

TEST(GridColumn, LogsChildrenThatCannotBeRead) {
    const auto tree = expandedTree(makeMetric("m"));
    tree->column(1).fails = true;
    LogCapture log;
    EXPECT_FALSE(makeColumn(tree, 1).isExpandedByInfoQuery());
    EXPECT_GE(log.count("st != dataface1::ITreeNode::ecsfError"), 1);
}

TEST(GridColumn, MakesAHelpKeywordOfTheInternalName) {
    const struct {
        const char* name;
        const char* keyword;
    } cases[] = {{"", ""},
                 {"CPU Time", "CPU_Time"},
                 {"CPU Time [UNIT s]", "CPU_Time_"},
                 {"[UNIT]", ""},
                 {"a[unit]", "a[unit]"}};
    for (const auto& [name, keyword] : cases)
        EXPECT_EQ(makeColumn(makeTree({{makeMetric("m"), data, name}}, ""), 1).getHelpKeyword(), keyword)
            << name;
}

TEST(GridColumn, TellsColumnsOfOneQueryApart) {
    const auto tree = expandedTree(makeMetric("m"));
    std::set<std::pair<std::string, int>> identities;
    for (std::size_t i = 1; i < 8; ++i) {
        const GridColumn column = makeColumn(tree, i);
        EXPECT_GE(column.getQueryInfo().flag, 0);
        identities.emplace(column.getQueryInfo().name, column.getQueryInfo().flag);
    }
    EXPECT_EQ(identities.size(), 7u);
    EXPECT_EQ(makeColumn(tree, 3).getQueryInfo().name, "/Thread[t2]");
}

TEST(GridColumn, LogsASecondRestriction) {
    const auto share = makeShare("t1");
    share->restrictions.push_back({nullptr, variant_t("t2")});
    const auto tree = makeTree({{share}}, "");
    LogCapture log;
    makeColumn(tree, 1);
    EXPECT_EQ(log.count("isSingleRestriction"), 1);
}

TEST(GridColumn, OffersPercentForDifferencesOnly) {
    const auto metric = makeMetric("m");
    metric->percentBases = {makeMetric("base")};
    const auto tree = expandedTree(metric);
    const auto idsOf = [&](std::size_t index) {
        std::string ids;
        const GridColumn column = makeColumn(tree, index);
        for (const auto& [id, format] : column.getAvailableFormats())
            ids += id + " ";
        return ids;
    };
    EXPECT_EQ(idsOf(1), "count number ");
    EXPECT_EQ(idsOf(7), "count number percent percent_by ");
    EXPECT_EQ(makeColumn(tree, 7).getFormat(), "percent");
    metric->attributes["format"] = variant_t("percent");
    EXPECT_EQ(makeColumn(tree, 1).getFormat(), "count") << "a percent format is dropped";
}

TEST(GridColumn, NamesTheBaseOfPercentBy) {
    const auto metric = makeMetric("m");
    metric->percentBases = {makeMetric("Cycles"), makeMetric("other")};
    variant_bag_t bag;
    GridColumnPercentByFormat("percent_by", "Percent of %1", metric).saveToVBag(bag);
    EXPECT_EQ(text(bag, "displayName"), "Percent of Cycles");
    variant_bag_t nameless;
    GridColumnFormat("count", "").saveToVBag(nameless);
    EXPECT_EQ(text(nameless, "id"), "count");
    EXPECT_FALSE(nameless.has<variant_t>("displayName"));
    LogCapture log;
    GridColumnPercentByFormat("percent_by", "", makeMetric("baseless"));
    EXPECT_EQ(log.count("!percentBaseMetrics.at_end()"), 1);
}

TEST(GridColumn, HasAFormatForEachLevel) {
    const auto inner = bk2::make_sptr<FakeInfoQuery>("/Address");
    inner->type = query_value_type_t::address;
    inner->attributes["format"] = variant_t("hexadecimal");
    const auto outer = bk2::make_sptr<FakeInfoQuery>("/Function");
    const auto tree = makeTree({}, "main\n  \n", {outer, inner});
    // The column shows the whole path: its query leads to the level below.
    tree->column(0).content.query = outer;
    GridColumn column = makeColumn(tree, 0);
    EXPECT_EQ(column.getFormat(0), "text");
    EXPECT_EQ(column.getFormat(1), "hexadecimal");
    EXPECT_EQ(column.getFormat(9), "hexadecimal") << "beyond the end the last one counts";
    column.setCurrentFormat("number");
    EXPECT_EQ(column.getFormat(), "number");
    EXPECT_EQ(column.getFormat(1), "hexadecimal");
}

TEST(GridColumn, FormatsCells) {
    const auto metric = makeMetric("m");
    const auto tree = expandedTree(metric, "main | 9000 | 1 | 2 | 3 | 4 | 5 | 6\n | 1");
    tree->column(5).content.total = tree->column(4).content.total = variant_t(bk2::s64_t(12));
    const auto rows = tree->getRows(nullptr);
    std::string cell;
    makeColumn(tree, 1).formatCell(*rows->current(), cell, 0);
    EXPECT_EQ(cell, "9,000");
    makeColumn(tree, 7).formatCell(*rows->current(), cell, 0);
    EXPECT_EQ(cell, "50.0%") << "of the total of the column above";
    LogCapture log;
    rows->next();
    makeColumn(tree, 0).formatCell(*rows->current(), cell, 0);
    EXPECT_EQ(cell, "[Unknown]");
    EXPECT_EQ(log.count("status"), 1);
}

TEST(GridColumn, FindsThePercentBase) {
    const auto unit = bk2::make_sptr<FakeInfoQuery>("/Package");
    unit->attributes["unitDistinctQuery"] = variant_t(true);
    const auto metric = makeMetric("m");
    const auto tree = makeTree({{metric, data, "", {{makeMetric("child")}}, variant_t(bk2::s64_t(100))}},
                               "pkg | 40 | 4\n  main | 30 | 3\n    deep | 20 | 2",
                               {unit, bk2::make_sptr<FakeInfoQuery>("/Function")});
    auto& deep = tree->row("deep");
    deep.otherContents[{1, dataface1::cell_percent_base}] = variant_t(bk2::s64_t(25));
    const auto base = [&](std::size_t column, const char* format) {
        return percentBase(&deep, &tree->column(column), format);
    };
    EXPECT_EQ(base(1, "percent"), variant_t(bk2::s64_t(40)));
    EXPECT_EQ(base(1, "percent_by"), variant_t(bk2::s64_t(25)));
    EXPECT_TRUE(base(2, "percent_by").is_null());
    EXPECT_EQ(base(2, "percent"), variant_t(bk2::s64_t(40))) << "the column above is the base";
    metric->attributes["allowCollapse"] = variant_t(false);
    EXPECT_EQ(base(2, "percent"), variant_t(bk2::s64_t(4))) << "unless it may not be collapsed";
    unit->attributes.clear();
    EXPECT_EQ(base(1, "percent"), variant_t(bk2::s64_t(100))) << "without a base row the total counts";
    EXPECT_TRUE(percentBase(nullptr, &tree->column(1), "percent").is_null());
    EXPECT_TRUE(percentBase(&deep, nullptr, "percent").is_null());
}

TEST(GridColumn, ScalesBars) {
    const auto tree = expandedTree(makeMetric("m"), "a | 5 | | | -9 | 3 | 4 | -1\nb | -8 | | | | 2 | -7 | 9");
    EXPECT_EQ(makeColumn(tree, 1).getBarMaxValue(), variant_t(bk2::s64_t(-8)));
    EXPECT_EQ(makeColumn(tree, 7).getBarMaxValue(), variant_t(bk2::s64_t(-7)))
        << "of what it is the difference of";
    EXPECT_TRUE(makeColumn(tree, 2).getBarMaxValue().is_null());
}

TEST(GridColumn, ExplainsDerivedQueries) {
    const auto derived = bk2::make_sptr<FakeDerivedQuery>("ratio");
    derived->components = {makeMetric("a"), makeMetric("b")};
    const auto tree = makeTree({{derived}, {makeMetric("plain")}}, "");
    EXPECT_EQ(makeColumn(tree, 1).getFormula(), "a + b");
    EXPECT_EQ(makeColumn(tree, 2).getFormula(), "");
    derived->attributes["disableFormulaDescription"] = variant_t(true);
    EXPECT_EQ(makeColumn(tree, 1).getFormula(), "");
}

TEST(GridColumn, TellsThePaneOfADataColumn) {
    const auto metric = makeMetric("m");
    metric->issues = {{"too few samples", "10"}, {"unreliable", ""}};
    metric->confidence = "95%";
    metric->description = "Cycles spent";
    const auto tree = expandedTree(metric, "main | 9");
    variant_bag_t bag;
    makeColumn(tree, 1).saveToVBag(bag);
    const std::map<std::string, std::string> expected = {
        {"caption", "cycles"},
        {"description", "Cycles spent"},
        {"descendingByDefault", "true"},
        {"query", "m"},
        {"queryFlag", "32"},
        {"syncChildColumnsFormat", "true"},
        {"helpKeyword", "cycles"},
        {"aliasForUnknown", ""},
        {"isCollapsible", "true"},
        {"format", "count"},
        {"isData", "true"},
        {"isTotal", "true"},
        {"confidenceText", "95%"},
        {"maxPerUnitOfMeasure", ""},
        {"barMax", "9"},
        {"barType", "stacked"},
    };
    std::map<std::string, std::string> written;
    for (auto value = bag.begin<variant_t>(); !value.at_end(); value.next())
        written[std::string(value.get_name())] = bk2::get_value_string(value.get_value());
    EXPECT_EQ(written, expected);
    const auto* issues = bag.get<variant_bag_t>("issues");
    ASSERT_TRUE(issues);
    EXPECT_EQ(issues->count<variant_bag_t>("issue"), 2u);
    EXPECT_EQ(text(*issues->get<variant_bag_t>("issue"), "thresholdText"), "10");
    EXPECT_EQ(bag.get<variant_bag_t>("availableFormats")->count<variant_bag_t>("availableFormat"), 2u);
}

TEST(GridColumn, TellsThePaneTheUnitOfTimes) {
    const auto metric = makeMetric("m");
    metric->type = dataface1::query_value_type_t::time;
    metric->attributes["timeUnit"] = variant_t(1e-6);
    variant_bag_t bag;
    makeColumn(expandedTree(metric, "main | 9"), 1).saveToVBag(bag);
    EXPECT_EQ(bag.get_variant("timeUnit").get<double>(), 1e-6);
}

TEST(GridColumn, TellsThePaneOfOtherColumns) {
    const auto inner = bk2::make_sptr<FakeInfoQuery>("/Thread");
    inner->alias = "no thread";
    const auto outer = bk2::make_sptr<FakeInfoQuery>("/Function");
    const auto tree = makeTree({{bk2::make_sptr<FakeInfoQuery>("/Info/Module"), dataface1::column_info}}, "",
                               {outer, inner});
    tree->column(0).content.query = outer;
    variant_bag_t grouping, info;
    makeColumn(tree, 0).saveToVBag(grouping);
    makeColumn(tree, 1).saveToVBag(info);
    EXPECT_EQ(text(grouping, "isGrouping"), "true");
    auto level = grouping.get<variant_bag_t>("levels")->begin_by_name<variant_bag_t>("level");
    EXPECT_EQ(text(level.get_value(), "aliasForUnknown"), "[Unknown]");
    level.next();
    EXPECT_EQ(text(level.get_value(), "id"), "1");
    EXPECT_EQ(text(level.get_value(), "aliasForUnknown"), "no thread");
    level.next();
    EXPECT_TRUE(level.at_end());
    EXPECT_EQ(text(info, "isInfo"), "true");
    EXPECT_EQ(text(info, "descendingByDefault"), "false");
    for (const char* key : {"isData", "barMax", "barType", "maxPerUnitOfMeasure"})
        EXPECT_FALSE(info.has<variant_t>(key)) << key;
}

TEST(Bars, AreChosenByColumn) {
    const auto metric = makeMetric("m");
    const auto tree = expandedTree(metric);
    EXPECT_EQ(makeColumn(tree, 1).getBar()->getType(), bar_type_t::stacked);
    EXPECT_EQ(makeColumn(tree, 4).getBar()->getType(), bar_type_t::plain);
    EXPECT_EQ(makeColumn(tree, 7).getBar()->getType(), bar_type_t::diff);
    metric->attributes["allowCollapse"] = variant_t(false);
    EXPECT_EQ(makeColumn(tree, 1).getBar()->getType(), bar_type_t::plain);
    EXPECT_STREQ(getBarTypeName(static_cast<bar_type_t>(9)), "unknown");
}

TEST(Bars, SaveThemselves) {
    const auto tree = expandedTree(makeMetric("m"), "main | 9 | 4 | 5");
    variant_bag_t column, cell;
    StackedBar stacked(tree->column(1));
    stacked.saveToVBag(column);
    stacked.createInstance(tree->row("main"))->saveToVBag(cell);
    const auto* segments = column.get<variant_bag_t>("barSegments");
    EXPECT_EQ(text(*segments->get<variant_bag_t>("s0"), "color"), "7");
    EXPECT_EQ(text(*segments->get<variant_bag_t>("s1"), "color"), std::to_string(0xd47334ffu));
    EXPECT_EQ(text(*segments->get<variant_bag_t>("s1"), "caption"), "/Thread");
    const auto* values = cell.get<variant_bag_t>("barSegments");
    EXPECT_EQ(text(*values, "arrayOf"), "barSegment");
    EXPECT_EQ(text(*values->get<variant_bag_t>("barSegment"), "id"), "s0");
    EXPECT_EQ(text(*values->get<variant_bag_t>("barSegment"), "value"), "4");

    variant_bag_t plain, plainCell, childless;
    DiffBar(tree->column(7)).saveToVBag(plain);
    DiffBar(tree->column(7)).createInstance(tree->row("main"))->saveToVBag(plainCell);
    EXPECT_EQ(text(plain, "barType"), "diff");
    EXPECT_EQ(text(plain, "color"), std::to_string(0xd47334ffu));
    EXPECT_TRUE(plainCell.is_empty());
    StackedBar(tree->column(7)).createInstance(tree->row("main"))->saveToVBag(childless);
    EXPECT_TRUE(childless.is_empty());
}

} // namespace
} // namespace panedeck::tests
