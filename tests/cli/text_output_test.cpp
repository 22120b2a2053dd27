#include "grid_answer.h"
#include "pane_frames.h"
#include "profile_summary.h"
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

TEST(GridAnswer, ShowsLeafColumnsValuesWithUnitsAndWhetherThereIsMore) {
    variant_bag_t answer;
    variant_bag_t& columns = answer.add_variant_bag("columns");
    add_column(columns, "c0", "/Function").put("caption", variant_t("Function"));
    variant_bag_t& compared = add_column(columns, "c1", "time").add_variant_bag("columns");
    add_column(compared, "c2", "time:First");
    add_column(compared, "c3", "second");
    add_column(columns, "c4", "time and space:Self");
    add_column(columns, "c5", "Samples:Self");
    variant_bag_t& row = answer.add_variant_bag("rows").add_variant_bag("row").add_variant_bag("cells");
    row.add_variant_bag("c0").put("value", variant_t("main"));
    row.add_variant_bag("c1");
    row.add_variant_bag("c2").put("value", variant_t(1'500'000));
    row.add_variant_bag("c3").put("value", variant_t(0.5));
    row.add_variant_bag("c4").put("value", variant_t(bk2::u64_t{4'718'592}));
    row.add_variant_bag("c5").put("value", variant_t(bk2::s64_t{1} << 60));
    answer.put_own_value("fullContent", variant_t(false));
    std::string text;
    const std::map<std::string, std::string> units{
        {"time", "microseconds"}, {"time and space", "bytes"}, {"Samples", "count"}};
    ASSERT_TRUE(grid_answer_as_text(answer, units, text).succeeded());
    EXPECT_EQ(text, "Function  time:First  time / second  time and space:Self         Samples:Self\n"
                    "--------  ----------  -------------  -------------------  -------------------\n"
                    "main         1.500 s         500 ns            4.500 MiB  1152921504606846976\n"
                    "… and more rows\n");
}

TEST(ProfileSummary, TellsWhatWasSkippedInSentences) {
    variant_bag_t answer;
    constexpr char json[] =
        R"({"results":[{"name":"a.txt","metrics":[{"id":"t","name":"Time","unit":"nanoseconds"}],
        "skipped":{"count":8,"unit":"line","reasons":[{"text":"too long","count":7,"firstLines":[3,5]},
                                                    {"text":"odd","count":1,"firstLines":[9]}]}},
        {"name":"b"}]})";
    ASSERT_TRUE(read_pane_frame(json, answer).succeeded());
    const ProfileSummary summary = read_profile_summary(answer);
    EXPECT_EQ(summary.units.at("Time"), "nanoseconds");
    EXPECT_EQ(summary.sentences,
              (std::vector<std::string>{
                  "8 lines of a.txt were skipped: 7 times \"too long\" (3, 5, …), once \"odd\" (9)."}));
}

TEST(GridAnswer, AnEmptyAnswerIsNoFailureAndAnotherOneIs) {
    std::string text;
    EXPECT_TRUE(grid_answer_as_text({}, {}, text).succeeded());
    EXPECT_EQ(text, "The profile has no rows.\n");
    variant_bag_t other;
    other.put("x", variant_t(1));
    EXPECT_TRUE(grid_answer_as_text(other, {}, text).failed());
}

} // namespace
} // namespace panedeck::cli
