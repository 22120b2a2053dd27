#include "grid_answer.h"
#include "text_table.h"

#include <gtest/gtest.h>

namespace panedeck::cli {
namespace {

using bk2::variant_bag_t;
using bk2::variant_t;

TEST(TextTable, SetsNamesLeftAndNumbersRight) {
    TextTable table({"Name", "Total"}, 12);
    table.add_row({"größer", "5"});
    table.add_row({"a very long name", "12345678"});
    table.add_row({"\x1b[31m\n"});
    EXPECT_EQ(table.text(), "Name             Total\n"
                            "------------  --------\n"
                            "größer               5\n"
                            "a very long…  12345678\n"
                            "\\x1b[31m\\x0a\n");
}

variant_bag_t& add_column(variant_bag_t& columns, const char* id, const char* name) {
    variant_bag_t& column = columns.add_variant_bag("column");
    column.put("id", variant_t(id));
    column.put("fullName", variant_t(name));
    return column;
}

TEST(GridAnswer, ShowsLeafColumnsRawValuesAndWhetherThereIsMore) {
    variant_bag_t answer;
    variant_bag_t& columns = answer.add_variant_bag("columns");
    add_column(columns, "c0", "Function");
    variant_bag_t& compared = add_column(columns, "c1", "time").add_variant_bag("columns");
    add_column(compared, "c2", "time:First");
    add_column(compared, "c3", "second");
    variant_bag_t& row = answer.add_variant_bag("rows").add_variant_bag("row").add_variant_bag("cells");
    row.add_variant_bag("c0").put("value", variant_t("main"));
    row.add_variant_bag("c1");
    row.add_variant_bag("c2").put("value", variant_t(bk2::s64_t{1} << 60));
    row.add_variant_bag("c3").put("value", variant_t(0.5));
    answer.put_own_value("fullContent", variant_t(false));
    std::string text;
    ASSERT_TRUE(grid_answer_as_text(answer, text).succeeded());
    EXPECT_EQ(text, "Function           time:First  time / second\n"
                    "--------  -------------------  -------------\n"
                    "main      1152921504606846976            0.5\n"
                    "… and more rows\n");
}

TEST(GridAnswer, AnEmptyAnswerIsNoFailureAndAnotherOneIs) {
    std::string text;
    EXPECT_TRUE(grid_answer_as_text({}, text).succeeded());
    EXPECT_EQ(text, "The profile has no rows.\n");
    variant_bag_t other;
    other.put("x", variant_t(1));
    EXPECT_TRUE(grid_answer_as_text(other, text).failed());
}

} // namespace
} // namespace panedeck::cli
