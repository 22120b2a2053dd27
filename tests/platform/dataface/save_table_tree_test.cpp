#include "basekit/variant_bag_xml.h"
#include "dataface/save_table_tree.h"
#include "support/fake_table_tree.h"

#include <gtest/gtest.h>

#include <sstream>

namespace panedeck::tests {
namespace {

using bk2::variant_bag_t;
using bk2::variant_t;
using dataface1::saveTableTreeToVBag;

constexpr std::uint32_t all = 0xffffffff;

/// The rows of an answer as lines: indentation, then the cells, "-" for one without value.
std::string printedRows(const variant_bag_t& answer) {
    std::ostringstream out;
    for (auto row = answer.get<variant_bag_t>("rows")->begin_by_name<variant_bag_t>("row"); !row.at_end();
         row.next()) {
        out << std::string(2 * row.get_value().get_variant("level").get<bk2::u32_t>(), ' ');
        const auto* cells = row.get_value().get<variant_bag_t>("cells");
        for (auto cell = cells->begin<variant_bag_t>(); !cell.at_end(); cell.next()) {
            const auto* value = cell.get_value().get<variant_t>("value");
            out << cell.get_name() << "=" << (value ? bk2::get_value_string(*value) : "-") << " ";
        }
        out << "\n";
    }
    return out.str();
}

std::string printedColumns(const variant_bag_t& parent) {
    const auto* columns = parent.get<variant_bag_t>("columns");
    if (!columns) return {};
    std::string text;
    for (auto column = columns->begin_by_name<variant_bag_t>("column"); !column.at_end(); column.next()) {
        const variant_bag_t& bag = column.get_value();
        text += (text.empty() ? "" : " ") + bk2::get_value_string(bag.get_variant("id")) + ":" +
                bk2::get_value_string(bag.get_variant("caption"));
        if (const std::string children = printedColumns(bag); !children.empty()) text += "(" + children + ")";
    }
    return text;
}

bk2::sptr_t<FakeTableTree> smallTree() {
    const fake_column_t first{makeMetric("first"), dataface1::column_data};
    const fake_column_t second{makeMetric("second"), dataface1::column_data};
    return makeTree({{makeMetric("cycles"), dataface1::column_data, "", {first, second}}, {makeMetric("n")}},
                    "main | 10 | 1 | 2 | 1.5\n  parse | 7\n    read | 7 | a\nidle | 3");
}

TEST(SaveTableTree, WritesColumnsAndRowsInPreorder) {
    variant_bag_t answer;
    ASSERT_EQ(saveTableTreeToVBag(smallTree(), answer, 0, nullptr, all).value(), 0);
    EXPECT_EQ(printedColumns(answer), "c0:Name c1:cycles(c2:first c3:second) c4:n");
    EXPECT_EQ(printedRows(answer), "c0=main c1=10 c2=1 c3=2 c4=1.5 \n"
                                   "  c0=parse c1=7 c2=- c3=- c4=- \n"
                                   "    c0=read c1=7 c2=a c3=- c4=- \n"
                                   "c0=idle c1=3 c2=- c3=- c4=- \n");
    EXPECT_EQ(answer.get<variant_bag_t>("rows")->get_variant("arrayOf").text(), "row");
    EXPECT_EQ(answer.get<variant_bag_t>("columns")->get_variant("arrayOf").text(), "column");
}

TEST(SaveTableTree, TellsWhatCouldNotBeRead) {
    variant_bag_t answer;
    EXPECT_EQ(saveTableTreeToVBag(nullptr, answer, 0, nullptr, all).as_string(1),
              "IsNot.Valid.Argument: tree");
    auto tree = smallTree();
    tree->row("parse").fails = true;
    EXPECT_EQ(saveTableTreeToVBag(tree, answer, 0, nullptr, all).as_string(1),
              "FailedTo.Get.The.Object: child rows");
    tree->failsToGiveRows = true;
    EXPECT_EQ(saveTableTreeToVBag(tree, answer, 0, nullptr, all).as_string(1),
              "FailedTo.Get.The.Object: rows");
    tree->column(1).fails = true;
    EXPECT_EQ(saveTableTreeToVBag(tree, answer, 0, nullptr, all).as_string(1),
              "FailedTo.Get.The.Object: columns");
}

TEST(SaveTableTree, StopsWhenCancelled) {
    const auto progress = notifykit2::IDevNullProgress::create();
    progress->cancel();
    variant_bag_t answer;
    EXPECT_TRUE(saveTableTreeToVBag(smallTree(), answer, 0, progress.get(), all).is_canceled());
}

TEST(SaveTableTree, WalksDeepTrees) {
    auto tree = makeTree({}, "");
    FakeRow* row = nullptr;
    for (int depth = 0; depth < 100000; ++depth)
        row = &tree->addRow(row, "f");
    variant_bag_t answer;
    EXPECT_EQ(saveTableTreeToVBag(tree, answer, 0, nullptr, all).value(), 0);
    EXPECT_EQ(answer.get<variant_bag_t>("rows")->count<variant_bag_t>("row"), 100000u);
}

TEST(SaveTableTree, GivesUpAtTheRowThatDoesNotFitIntoAFrame) {
    constexpr std::size_t limit = 100 << 20, row = 1 << 20;
    for (const char byte : {'x', '<'}) { // XML writes the second with four
        auto tree = makeTree({}, "");
        for (int i = 0; i < 101; ++i)
            tree->addRow(nullptr, std::string(row, byte));
        variant_bag_t answer;
        EXPECT_EQ(saveTableTreeToVBag(tree, answer, 0, nullptr, all).as_string(1),
                  "IsNot.Valid.Data: Response size exceeds 100MB limit");
        EXPECT_GE(bk2::get_xml_size(answer, "msg"), limit);
        EXPECT_LT(bk2::get_xml_size(answer, "msg"), limit + 5 * row);
    }
}

} // namespace
} // namespace panedeck::tests
