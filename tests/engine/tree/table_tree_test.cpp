#include "dataface/save_table_tree.h"
#include "store/profile_store.h"
#include "support/engine_session.h"
#include "tree/row_tree.h"

#include <gtest/gtest.h>

#include <map>
#include <random>
#include <set>
#include <thread>

namespace panedeck::tests {
namespace {

using namespace dataface1;
using namespace slicerkit1;

constexpr char program[] = "main|app;parse|app;read|libc 5\n"
                           "main|app;draw|app 2\n"
                           "main|app;parse|app;parse|app;read|libc 3\n"
                           "10\n";

TreeQuestion question(const std::string& grouping, int type) {
    TreeQuestion result;
    result.grouping = grouping;
    result.type = type;
    return result;
}

std::vector<bk2::sptr_t<IColumnInfo>> columnsOf(const bk2::sptr_t<ITableTree>& tree) {
    std::vector<bk2::sptr_t<IColumnInfo>> columns;
    EngineSession::collect(tree->getColumns(nullptr), columns);
    return columns;
}

std::vector<bk2::sptr_t<ITableRow>> rowsOf(bk2::iterator_ptr_t<bk2::sptr_t<ITableRow>> iterator) {
    std::vector<bk2::sptr_t<ITableRow>> rows;
    for (; !iterator->at_end(); iterator->next())
        rows.push_back(iterator->current());
    return rows;
}

std::vector<bk2::sptr_t<ITableRow>> childrenOf(const bk2::sptr_t<ITableRow>& row) {
    bk2::iterator_ptr_t<bk2::sptr_t<ITableRow>> children;
    EXPECT_EQ(row->getChildRows(children, nullptr, true), ITreeNode::ecsfAtHand);
    return rowsOf(std::move(children));
}

TEST(TableTree, PrintsTheKindsOfTree) {
    const EngineSession session(program);
    EXPECT_EQ(session.print(question("/Function", query_flat_profile)), "~ 10 10\n"
                                                                        "main 10 0\n"
                                                                        "parse 8 0\n"
                                                                        "read 8 8\n"
                                                                        "draw 2 2\n");
    EXPECT_EQ(session.print(question("/CallStack", query_top_down)), "~ 10 10\n"
                                                                     "main 10 0\n"
                                                                     "  parse 8 0\n"
                                                                     "    read 5 5\n"
                                                                     "    parse 3 0\n"
                                                                     "      read 3 3\n"
                                                                     "  draw 2 2\n");
    EXPECT_EQ(session.print(question("/Function/ParentCallStack", query_bottom_up)), "~ 10\n"
                                                                                     "read 8\n"
                                                                                     "  parse 8\n"
                                                                                     "    main 5\n"
                                                                                     "    parse 3\n"
                                                                                     "      main 3\n"
                                                                                     "draw 2\n"
                                                                                     "  main 2\n");
    EXPECT_EQ(session.print(question("/Module/Function", query_flat_profile)), "~ 10 10\n"
                                                                               "  ~ 10 10\n"
                                                                               "app 10 2\n"
                                                                               "  main 10 0\n"
                                                                               "  parse 8 0\n"
                                                                               "  draw 2 2\n"
                                                                               "libc 8 8\n"
                                                                               "  read 8 8\n");
}

TEST(TableTree, AutomaticKindFollowsThePath) {
    const EngineSession session(program);
    for (const auto& [path, type] :
         {std::pair("/CallStack", query_top_down), std::pair("/Function", query_flat_profile),
          std::pair("/Function/ParentCallStack", query_bottom_up)})
        EXPECT_EQ(session.print(question(path, query_auto)), session.print(question(path, type))) << path;
}

TEST(TableTree, SelectionTreesRunFromTheFocus) {
    const EngineSession session(program);
    TreeQuestion asked = question("/Function", query_selection_parent_tree);
    asked.focus_query = "/Function";
    asked.focus_id = "parse";
    EXPECT_EQ(session.print(asked), "parse 8 0\n  main 8 0\n  parse 3 0\n    main 3 0\n");
    asked.type = query_selection_child_tree;
    EXPECT_EQ(session.print(asked), "parse 8 0\n  read 8 8\n  parse 3 0\n    read 3 3\n");
    asked.focus_id = bk2::variant_t(bk2::s64_t{1}); // main, the first function of the text
    EXPECT_EQ(session.print(asked, 2), "main 10 0\n  parse 8 0\n  draw 2 2\n");
    asked.focus_id = "1";
    EXPECT_EQ(session.print(asked, 1), "main 10 0\n");
    for (const bk2::variant_t& nothing : {bk2::variant_t("nobody"), bk2::variant_t(-1), bk2::variant_t(99)}) {
        asked.focus_id = nothing;
        EXPECT_EQ(session.print(asked), "empty\n");
    }
}

TEST(TableTree, FlagsOfRows) {
    const EngineSession session("[1/1 a] f 1\n[1/2 b] g 0\n");
    EXPECT_EQ(session.print(question("/Thread", query_flat_profile)), "a 1 1\nb 0 0\n");
    EXPECT_EQ(session.print(question("/Function/CallStack", query_flat_profile)), "f 1 1\ng 0 0\n");

    engine::ProfileData data = profileFromText("main;read 1\nmain;read;copy 2\n");
    data.names.push_back("unused");
    data.functions.push_back({static_cast<engine::StringIndex>(data.names.size() - 1), 0, 0, 0, 0});
    const EngineSession with_unused(std::move(data));
    EXPECT_EQ(with_unused.print(question("/Function", query_flat_profile | query_all_rows)),
              "main 3 0\nread 3 1\ncopy 2 2\nunused 0 0\n");
    EXPECT_EQ(with_unused.print(question("/CallStack", query_top_down | query_no_leaf_expansion)),
              "main 3 0\n");
    EXPECT_EQ(
        with_unused.print(question("/Function/ParentCallStack", query_bottom_up | query_tabular_bottom_up)),
        with_unused.print(question("/Function/ParentCallStack", query_bottom_up)));
}

TEST(TableTree, SortsBySortQuery) {
    const EngineSession session("b|y 1,9\na|z 1,5\nc|x 3,1\n");
    TreeQuestion asked = question("/Function", query_bottom_up);
    EXPECT_EQ(session.print(asked), "c 3 1\na 1 5\nb 1 9\n");
    asked.sorting = "/Metrics/metric1";
    EXPECT_EQ(session.print(asked), "b 1 9\na 1 5\nc 3 1\n");
    asked.sorting = "/Function";
    EXPECT_EQ(session.print(asked), "a 1 5\nb 1 9\nc 3 1\n");
    asked.sorting = "/Info/Module";
    EXPECT_EQ(session.print(asked), "c 3 1\nb 1 9\na 1 5\n");
    asked.sorting = "/Samples"; // not among the columns
    EXPECT_EQ(session.print(asked), "c 3 1\na 1 5\nb 1 9\n");
}

TEST(TableTree, ColumnsHaveTheirFlags) {
    const EngineSession session("[1/1 a] main|app|m.c;read|libc 4,2\n[1/2 b] main|app|m.c 3,1\n");
    TreeQuestion asked;
    asked.columns = {"/Metrics", "/Info/Module", "/Info/FunctionFullName", "/Samples",
                     "/Metrics/samples/Thread"};
    const auto describe = [&](int type) {
        asked.type = type;
        bk2::sptr_t<ITableTree> tree;
        EXPECT_TRUE(session.run(asked, tree).succeeded());
        std::string text;
        std::set<std::string> names;
        for (const auto& column : columnsOf(tree)) {
            char flags[16];
            std::snprintf(flags, sizeof flags, "%x", column->getFlags());
            bk2::variant_t name;
            EXPECT_TRUE(column->getAttribute(column_internal_name, name));
            EXPECT_TRUE(names.insert(std::string(name.text())).second) << name.text();
            text +=
                (column->getParentColumn() ? "  " : "") + column->getQuery()->getName() + " " + flags + "\n";
        }
        return text;
    };
    EXPECT_EQ(describe(query_flat_profile),
              "/Function 1\n/Info/Module 2\n/Info/FunctionFullName 2\n"
              "/Metrics/samples 24\n/Metrics/samples 14\n"
              "/Metrics/metric1 24\n/Metrics/metric1 14\n/Samples 24\n/Samples 14\n"
              "/Metrics/samples/Thread 24\n"
              "  /Metrics/samples/Thread 24\n  /Metrics/samples/Thread 24\n"
              "/Metrics/samples/Thread 14\n"
              "  /Metrics/samples/Thread 14\n  /Metrics/samples/Thread 14\n");
    EXPECT_EQ(describe(query_bottom_up), "/Function 1\n/Info/Module 2\n/Info/FunctionFullName 2\n"
                                         "/Metrics/samples 14\n/Metrics/metric1 14\n/Samples 14\n"
                                         "/Metrics/samples/Thread 14\n"
                                         "  /Metrics/samples/Thread 14\n  /Metrics/samples/Thread 14\n");
    asked.type = query_flat_profile;
    EXPECT_EQ(session.print(asked), "main app app!main - [m.c] 7 3 3 1 2 1 7 4 3 3 0 3\n"
                                    "read libc libc!read 4 4 2 2 1 1 4 4 0 4 4 0\n");
    asked.grouping = "/Thread/Function";
    EXPECT_EQ(session.print(asked), "a ~ ~ 4 4 2 2 1 1 4 4 0 4 4 0\n"
                                    "  main app app!main - [m.c] 4 0 2 0 1 0 4 4 0 0 0 0\n"
                                    "  read libc libc!read 4 4 2 2 1 1 4 4 0 4 4 0\n"
                                    "b ~ ~ 3 3 1 1 1 1 3 0 3 3 0 3\n"
                                    "  main app app!main - [m.c] 3 3 1 1 1 1 3 0 3 3 0 3\n");
}

TEST(TableTree, CellsHaveOtherContents) {
    const EngineSession session("main;read 4,2\nmain 3,1\n");
    bk2::sptr_t<ITableTree> tree;
    ASSERT_TRUE(session.run({}, tree).succeeded());
    const auto columns = columnsOf(tree);
    const auto rows = rowsOf(tree->getRows(nullptr));
    ASSERT_EQ(rows.size(), 2u);
    const auto read = [&](std::size_t row, std::size_t column, int contents) {
        bk2::variant_t value(true);
        const bool has_it = rows[row]->getValue(columns[column].get(), contents, value);
        EXPECT_EQ(has_it, !value.is_null());
        return bk2::get_value_string(value);
    };
    EXPECT_EQ(read(0, 0, cell_object_id), "1");
    EXPECT_EQ(read(1, 0, cell_object_id), "2");
    EXPECT_EQ(read(1, 1, cell_object_id), "");
    EXPECT_EQ(read(1, 1, cell_reliability), "1");
    EXPECT_EQ(read(1, 1, cell_issue_mask), "0");
    EXPECT_EQ(read(1, 0, cell_chain_front), "");
    EXPECT_EQ(read(1, 1, cell_percent_base), "7"); // the primary metric relates to its own total
    EXPECT_EQ(read(1, 3, cell_percent_base), "4"); // any other to the primary one
    EXPECT_EQ(read(0, 4, cell_percent_base), "3");
    bk2::variant_t value;
    EXPECT_FALSE(rows[0]->getValue(nullptr, cell_chain_front, value));
    EXPECT_TRUE(columns[3]->getAttribute(column_total_value, value));
    EXPECT_EQ(value, bk2::variant_t(3));
    EXPECT_FALSE(columns[0]->getAttribute(column_total_value, value));

    const auto statistics = bk2::interface_cast<IColumnStatistics>(tree);
    ASSERT_TRUE(statistics);
    EXPECT_TRUE(statistics->getColumnMaximum(*columns[1], value) && value == bk2::variant_t(7));
    EXPECT_TRUE(statistics->getColumnMinimum(*columns[1], value) && value == bk2::variant_t(4));
    EXPECT_TRUE(statistics->getColumnSum(*columns[2], value) && value == bk2::variant_t(7));
    EXPECT_FALSE(statistics->getColumnMaximum(*columns[0], value));
}

TEST(TableTree, ObjectIdsStayTheSameAcrossTrees) {
    const EngineSession session(program);
    const auto ids = [&](const std::string& filter) {
        TreeQuestion asked = question("/Function/ParentCallStack", query_bottom_up);
        asked.filter = filter;
        bk2::sptr_t<ITableTree> tree;
        EXPECT_TRUE(session.run(asked, tree).succeeded());
        std::map<std::string, std::string> result;
        const auto column = tree->getColumns(nullptr)->current();
        for (const auto& row : rowsOf(tree->getRows(nullptr)))
            for (const auto& caller : childrenOf(row))
                for (const auto& above : childrenOf(caller)) {
                    bk2::variant_t text, id;
                    above->getValue(column.get(), cell_value, text);
                    above->getValue(column.get(), cell_object_id, id);
                    result[bk2::get_value_string(text)] = bk2::get_value_string(id);
                }
        return result;
    };
    const auto builder = session.registry().createQueryFilterBuilder();
    builder->setValueMode(true);
    ASSERT_TRUE(builder->addExpression(session.level("/Function"), filter_equal, "read").succeeded());
    ASSERT_TRUE(session.registry().setQueryFilter("f", builder->compile()).succeeded());
    EXPECT_EQ(ids(""), ids("f"));
    EXPECT_EQ(ids("").size(), 2u);
    EXPECT_NE(ids("")["main"], ids("")["parse"]);
}

TEST(TableTree, RowsAreTheSameObjectsAndKeepTheTree) {
    const EngineSession session(program);
    bk2::sptr_t<ITableRow> child;
    {
        bk2::sptr_t<ITableTree> tree;
        ASSERT_TRUE(session.run(question("/CallStack", query_top_down), tree).succeeded());
        const auto once = rowsOf(tree->getRows(nullptr)), twice = rowsOf(tree->getRows(nullptr));
        ASSERT_EQ(once.size(), 2u);
        EXPECT_EQ(once[1].get(), twice[1].get());
        EXPECT_NE(once[0].get(), once[1].get());
        child = childrenOf(once[1]).at(0);
        EXPECT_EQ(child.get(), childrenOf(twice[1]).at(0).get());
        EXPECT_EQ(child->getParentRow().get(), once[1].get());
        EXPECT_TRUE(once[0]->getParentRow().is_null());
    }
    // All but the child has gone.
    bk2::variant_t text;
    const auto tree = child->getTableTree();
    EXPECT_TRUE(child->getValue(tree->getColumns(nullptr)->current().get(), cell_value, text));
    EXPECT_EQ(text, bk2::variant_t("parse"));
    EXPECT_EQ(child->getQuery()->getName(), "/CallStack");
    bk2::sptr_t<ITableTree> other;
    ASSERT_TRUE(session.run({}, other).succeeded());
    EXPECT_FALSE(child->getValue(other->getColumns(nullptr)->current().get(), cell_value, text));
}

/// More rows than stand side by side in memory.
TEST(TableTree, ManyRowsAreTheSameObjects) {
    constexpr std::int64_t count = 5000;
    std::string text;
    for (std::int64_t i = count; i > 0; --i)
        text += "f" + std::to_string(i) + " " + std::to_string(i) + "\n";
    const EngineSession session(text);
    bk2::sptr_t<ITableTree> tree;
    ASSERT_TRUE(session.run(question("/Function", query_flat_profile), tree).succeeded());
    const auto columns = columnsOf(tree);
    const auto once = rowsOf(tree->getRows(nullptr)), twice = rowsOf(tree->getRows(nullptr));
    std::set<const ITableRow*> objects;
    for (std::size_t i = 0; i < once.size(); ++i) {
        EXPECT_EQ(once[i].get(), twice[i].get());
        objects.insert(once[i].get());
        bk2::variant_t name, weight;
        EXPECT_TRUE(once[i]->getValue(columns.front().get(), cell_value, name));
        EXPECT_TRUE(once[i]->getValue(columns.back().get(), cell_value, weight));
        EXPECT_EQ(weight, bk2::variant_t(count - static_cast<std::int64_t>(i)));
        EXPECT_EQ(name, bk2::variant_t("f" + bk2::get_value_string(weight)));
    }
    EXPECT_EQ(objects.size(), once.size());
}

TEST(TableTree, ProbesForChildrenWithoutMakingThem) {
    const EngineSession session(program);
    bk2::sptr_t<ITableTree> tree;
    ASSERT_TRUE(session.run(question("/CallStack", query_top_down), tree).succeeded());
    const auto main = rowsOf(tree->getRows(nullptr)).at(1);
    bk2::iterator_ptr_t<bk2::sptr_t<ITableRow>> none;
    EXPECT_EQ(main->getChildRows(none, nullptr, false), ITreeNode::ecsfUnknown);
    EXPECT_EQ(none, nullptr);
    const auto canceled = notifykit2::IDevNullProgress::create();
    canceled->cancel();
    EXPECT_EQ(main->getChildRows(none, canceled.get(), true), ITreeNode::ecsfError);
    const auto children = childrenOf(main); // a cancel spoils nothing
    ASSERT_EQ(children.size(), 2u);
    EXPECT_EQ(main->getChildRows(none, nullptr, false), ITreeNode::ecsfAtHand);
    EXPECT_EQ(children[1]->getChildRows(none, nullptr, false), ITreeNode::ecsfAtHand) << "a known leaf";
}

TEST(TableTree, EmptyAndCanceled) {
    const EngineSession session(program);
    const auto builder = session.registry().createQueryFilterBuilder();
    builder->setValueMode(true);
    ASSERT_TRUE(builder->addExpression(session.level("/Function"), filter_equal, "nobody").succeeded());
    ASSERT_TRUE(session.registry().setQueryFilter("f", builder->compile()).succeeded());
    TreeQuestion asked;
    asked.filter = "f";
    bk2::sptr_t<ITableTree> tree;
    ASSERT_TRUE(session.run(asked, tree).succeeded());
    EXPECT_TRUE(tree->getRows(nullptr)->at_end());
    EXPECT_FALSE(tree->getColumns(nullptr)->at_end()) << "a pane goes on showing its columns";
    const auto canceled = notifykit2::IDevNullProgress::create();
    canceled->cancel();
    EXPECT_TRUE(session.run({}, tree, canceled.get()).is_canceled());
    EXPECT_TRUE(session.run(asked, tree, canceled.get()).is_canceled());
}

TEST(TableTree, OpensAHundredThousandLevels) {
    engine::ProfileData data = profileFromText("f 1\n");
    for (engine::CallsiteIndex node = 2; node <= 100'000; ++node) {
        data.callsite_parents.push_back(node - 1);
        data.callsite_functions.push_back(1);
    }
    data.sample_callsites[0] = 100'000;
    const EngineSession session(std::move(data));
    for (const auto& [path, type] :
         {std::pair("/CallStack", query_top_down), std::pair("/ParentCallStack", query_bottom_up)}) {
        bk2::sptr_t<ITableTree> tree;
        ASSERT_TRUE(session.run(question(path, type), tree).succeeded());
        auto row = rowsOf(tree->getRows(nullptr)).at(0);
        std::size_t depth = 1;
        for (auto children = childrenOf(row); !children.empty(); children = childrenOf(row), ++depth)
            row = children.at(0);
        EXPECT_EQ(depth, 100'000u) << path;
    }
}

TEST(TableTree, IsReadWhileChildrenAreMade) {
    std::mt19937 random(1);
    std::string text;
    for (int i = 0; i < 2000; ++i) {
        for (int frame = 0; frame < 8; ++frame)
            text += (frame ? ";f" : "f") + std::to_string(random() % 5);
        text += " 1\n";
    }
    const EngineSession session(text);
    bk2::sptr_t<ITableTree> tree;
    ASSERT_TRUE(session.run(question("/Function/ParentCallStack", query_bottom_up), tree).succeeded());
    const auto walk = [&tree] {
        const auto columns = columnsOf(tree);
        std::vector<bk2::sptr_t<ITableRow>> open = rowsOf(tree->getRows(nullptr));
        std::int64_t sum = 0;
        while (!open.empty()) {
            const auto row = open.back();
            open.pop_back();
            bk2::variant_t value;
            for (const auto& column : columns)
                row->getValue(column.get(), cell_value, value);
            sum += value.get<bk2::s64_t>();
            for (const auto& child : childrenOf(row))
                open.push_back(child);
        }
        return sum;
    };
    std::int64_t sums[3];
    std::vector<std::thread> threads;
    for (std::int64_t& sum : sums)
        threads.emplace_back([&sum, &walk] { sum = walk(); });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(sums[0], 8 * 2000);
    EXPECT_EQ(sums[1], sums[0]);
    EXPECT_EQ(sums[2], sums[0]);
}

TEST(TableTree, SumsRowsUp) {
    const EngineSession session(program);
    bk2::sptr_t<ITableTree> tree;
    ASSERT_TRUE(session.run(question("/CallStack", query_top_down), tree).succeeded());
    const auto columns = columnsOf(tree);
    const auto top = rowsOf(tree->getRows(nullptr));
    const auto below = childrenOf(top[1]);
    const auto reducible = bk2::interface_cast<IReducibleTableTree>(tree);
    ASSERT_TRUE(reducible);
    const auto sum_of = [&](const std::vector<bk2::sptr_t<ITableRow>>& rows, std::size_t column = 1) {
        bk2::variant_t value;
        const auto row = reducible->reduce(rows, 0);
        return row && row->getValue(columns[column].get(), cell_value, value) ? value.get<bk2::s64_t>() : -1;
    };
    EXPECT_EQ(sum_of({below[0], below[1]}), 10);
    EXPECT_EQ(sum_of({below[0], top[1], top[0]}), 20) << "a row below another one counts once";
    EXPECT_EQ(sum_of({below[0], below[1], top[1]}, 2), 2) << "what a frame calls is not in its self";
    EXPECT_EQ(sum_of({}), -1);
    bk2::sptr_t<ITableTree> other;
    ASSERT_TRUE(session.run({}, other).succeeded());
    EXPECT_EQ(sum_of(rowsOf(other->getRows(nullptr))), -1) << "rows of another tree";
}

TEST(TableTree, BecomesABag) {
    const EngineSession session(program);
    bk2::sptr_t<ITableTree> tree;
    ASSERT_TRUE(session.run({}, tree).succeeded());
    bk2::variant_bag_t bag;
    ASSERT_TRUE(saveTableTreeToVBag(tree, bag, 0, nullptr, 100).succeeded());
    EXPECT_EQ(bag.get<bk2::variant_bag_t>("rows")->count<bk2::variant_bag_t>("row"), 5u);
    EXPECT_EQ(bag.get<bk2::variant_bag_t>("columns")->count<bk2::variant_bag_t>("column"), 3u);
}

} // namespace
} // namespace panedeck::tests
