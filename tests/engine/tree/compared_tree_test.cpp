#include "support/engine_session.h"

#include <gtest/gtest.h>

namespace panedeck::tests {
namespace {

using namespace dataface1;
using namespace slicerkit1;

TreeQuestion question(const std::string& grouping, int type) {
    TreeQuestion result;
    result.grouping = grouping;
    result.type = type;
    return result;
}

// Each number as difference, first, second, difference.
TEST(ComparedTree, JoinsRowsByContent) {
    const EngineSession session("main;read|a 5\nmain;gone 2\n", "other 1\nmain;read|b 1\nmain;read|a 9\n");
    EXPECT_EQ(session.print(question("/Function", query_bottom_up)), "gone 2 2 0 2\n"
                                                                     "other -1 0 1 -1\n"
                                                                     "read -1 0 1 -1\n"
                                                                     "read -4 5 9 -4\n");
}

TEST(ComparedTree, GoesDownOnBothSides) {
    const EngineSession session("main;read 5\nmain;gone;deep 2\n", "main;read;copy 9\n");
    EXPECT_EQ(session.print(question("/CallStack", query_top_down)), "main -2 7 9 -2 0 0 0 0\n"
                                                                     "  gone 2 2 0 2 0 0 0 0\n"
                                                                     "    deep 2 2 0 2 2 2 0 2\n"
                                                                     "  read -4 5 9 -4 5 5 0 5\n"
                                                                     "    copy -9 0 9 -9 -9 0 9 -9\n");
}

TEST(ComparedTree, TakesMetricsThatOneSideLacks) {
    const EngineSession session("f 1,10,100\n", "f 4\n");
    EXPECT_EQ(session.print(question("/Function", query_bottom_up)),
              "f -3 1 4 -3 10 10 0 10 100 100 0 100\n");
    const EngineSession fractions("f 1.5\n", "f 4\n");
    EXPECT_EQ(fractions.print(question("/Function", query_bottom_up)), "f -2.5 1.5 4 -2.5\n");
}

TEST(ComparedTree, ColumnsNameTheirSide) {
    const EngineSession session("f 1\n", "f 4\n");
    bk2::sptr_t<ITableTree> tree;
    ASSERT_TRUE(session.run({}, tree).succeeded());
    std::vector<bk2::sptr_t<IColumnInfo>> columns;
    EngineSession::collect(tree->getColumns(nullptr), columns);
    std::vector<std::uint32_t> flags;
    std::vector<std::string> totals;
    for (const auto& column : columns) {
        flags.push_back(column->getFlags());
        bk2::variant_t total;
        column->getAttribute(column_total_value, total);
        totals.push_back(bk2::get_value_string(total));
        EXPECT_EQ(column->getQuery()->getAttribute("query", 1), bk2::variant_t(column->getFlags()));
    }
    EXPECT_EQ(flags, (std::vector<std::uint32_t>{1, 0x24, 0x124, 0x224, 0x424, 0x14, 0x114, 0x214, 0x414}));
    EXPECT_EQ(totals, (std::vector<std::string>{"", "1", "1", "4", "1", "1", "1", "4", "1"}));
    EXPECT_FALSE(columns[4]->getQuery()->getPercentBaseMetrics().empty());
    bk2::variant_t id;
    EXPECT_FALSE(tree->getRows(nullptr)->current()->getValue(columns[0].get(), cell_object_id, id))
        << "numbers of entries mean nothing across results";
}

TEST(ComparedTree, SortsAndSums) {
    const EngineSession session("b 1\na 5\n", "c 1\nb 3\n");
    TreeQuestion asked = question("/Function", query_bottom_up);
    asked.sorting = "/Function";
    EXPECT_EQ(session.print(asked), "a 5 5 0 5\nb -2 1 3 -2\nc -1 0 1 -1\n");
    bk2::sptr_t<ITableTree> tree;
    ASSERT_TRUE(session.run(asked, tree).succeeded());
    std::vector<bk2::sptr_t<ITableRow>> rows;
    for (auto row = tree->getRows(nullptr); !row->at_end(); row->next())
        rows.push_back(row->current());
    const auto sum = bk2::interface_cast<IReducibleTableTree>(tree)->reduce(rows, 0);
    ASSERT_TRUE(sum);
    std::vector<bk2::sptr_t<IColumnInfo>> columns;
    EngineSession::collect(tree->getColumns(nullptr), columns);
    std::string text;
    for (std::size_t i = 1; i < columns.size(); ++i) {
        bk2::variant_t value;
        EXPECT_TRUE(sum->getValue(columns[i].get(), cell_value, value));
        text += bk2::get_value_string(value) + " ";
    }
    EXPECT_EQ(text, "2 6 4 2 ");
}

TEST(ComparedTree, TheSameResultTwiceDiffersNowhere) {
    const std::string text = "[1/1 a] main;read|a 5\n[1/2 b] main;gone 2\n[1/2 b] 3\n";
    const EngineSession session(text, text);
    const EngineSession alone(text);
    for (const char* grouping : {"/Thread/Function/ParentCallStack", "/Module/Function", "/CallStack"}) {
        bk2::sptr_t<ITableTree> tree;
        ASSERT_TRUE(session.run(question(grouping, query_bottom_up), tree).succeeded());
        std::size_t rows = 0;
        const std::string printed = EngineSession::printTree(tree);
        for (std::size_t line = 0; line < printed.size(); line = printed.find('\n', line) + 1, ++rows) {
            const std::string row = printed.substr(line, printed.find('\n', line) - line);
            EXPECT_TRUE(row.ends_with(" 0")) << row;
        }
        const std::string one = alone.print(question(grouping, query_bottom_up));
        EXPECT_EQ(rows, static_cast<std::size_t>(std::count(one.begin(), one.end(), '\n'))) << grouping;
    }
}

} // namespace
} // namespace panedeck::tests
