#include "dataface/formatter.h"
#include "support/fake_table_tree.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cmath>
#include <cstdio>
#include <limits>
#include <random>

namespace panedeck::tests {
namespace {

using bk2::variant_t;
using dataface1::Formatter;
using dataface1::query_value_type_t;

struct format_case_t {
    const char* format;
    variant_t value;
    const char* text;
};

std::string formatted(const Formatter& formatter, const variant_t& value) {
    std::string text = "left over";
    formatter.format(value, text);
    return text;
}

TEST(Formatter, WritesEachFormat) {
    const double inf = std::numeric_limits<double>::infinity();
    const format_case_t cases[] = {
        {"time", variant_t(2.0), "2.000 s"},
        {"time", variant_t(12345.5), "12,345.500 s"},
        {"time", variant_t(0.0125), "12.500 ms"},
        {"time", variant_t(-0.0125), "-12.500 ms"},
        {"time", variant_t(0.0000042), "4.200 µs"},
        {"time", variant_t(3e-9), "3 ns"},
        {"time", variant_t(bk2::s32_t(0)), "0 s"},
        {"time", variant_t(inf), "inf"},
        {"count", variant_t(bk2::s64_t(0)), "0"},
        {"count", variant_t(bk2::s64_t(999)), "999"},
        {"count", variant_t(bk2::s64_t(1000)), "1,000"},
        {"count", variant_t(bk2::s64_t(-1234567)), "-1,234,567"},
        {"count", variant_t(std::numeric_limits<bk2::u64_t>::max()), "18,446,744,073,709,551,615"},
        {"count", variant_t(1234.5), "1,234.5"},
        {"count", variant_t(inf), "inf"},
        {"bytes", variant_t(bk2::s64_t(1023)), "1,023 B"},
        {"bytes", variant_t(bk2::s64_t(1536)), "1.5 KiB"},
        {"bytes", variant_t(bk2::s64_t(5) << 40), "5.0 TiB"},
        {"number", variant_t(bk2::s64_t(1234567)), "1234567"},
        {"number", variant_t(0.125), "0.125"},
        {"number", variant_t(3.0), "3"},
        {"number", variant_t(-0.0), "0"},
        {"number", variant_t(1e-7), "1e-07"},
        {"number", variant_t(true), "true"},
        {"hexadecimal", variant_t(bk2::u32_t(255)), "0xff"},
        {"hexadecimal", variant_t(bk2::s64_t(-1)), "0xffffffffffffffff"},
        {"hexadecimal", variant_t(1.5), "1.5"},
        {"text", variant_t(bk2::s64_t(17)), "17"},
        {"text", variant_t("name"), "name"},
        {"time", variant_t("no number"), "no number"},
        {"count", variant_t(), ""},
    };
    for (const auto& [format, value, text] : cases) {
        Formatter formatter(nullptr);
        ASSERT_TRUE(formatter.setCurrentFormat(format));
        EXPECT_EQ(formatted(formatter, value), text) << format;
    }
}

/// The digits that printf writes, which rounds the exact number.
std::string fixed(double value, int decimals) {
    char text[400];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

TEST(Formatter, RoundsAsTheExactNumberDoes) {
    std::mt19937_64 random(1);
    Formatter seconds(nullptr), percent(nullptr);
    ASSERT_TRUE(seconds.setCurrentFormat("time") && percent.setCurrentFormat("percent"));
    seconds.setTotalMaxValue(1.0);
    percent.setSumOfValues(variant_t(100.0));
    for (int i = 0; i < 20'000; ++i) {
        // Of any size below the thousands, every other one at a tie or right beside it.
        double value = std::ldexp(double(random() >> 11), -int(44 + random() % 40));
        if (i % 2) value = std::nextafter((double(random() % 900'000) + 0.5) / 1000, i % 4 == 1 ? 1e9 : 0.0);
        value = std::fmod(value, 1000) * (i % 3 ? 1 : -1);
        EXPECT_EQ(formatted(seconds, variant_t(value)), fixed(value, 3) + " s");
        EXPECT_EQ(formatted(percent, variant_t(value)), fixed(value / 100.0 * 100, 1) + "%");
    }
}

TEST(Formatter, WritesTheSameInEveryLocale) {
    const std::string before = std::setlocale(LC_ALL, nullptr);
    for (const char* locale : {"de_DE.UTF-8", "C.UTF-8", "fr_FR.UTF-8"})
        if (std::setlocale(LC_ALL, locale)) break;
    Formatter formatter(makeMetric("m", query_value_type_t::number));
    EXPECT_EQ(formatted(formatter, variant_t(1234.5)), "1234.5");
    std::setlocale(LC_ALL, before.c_str());
}

TEST(Formatter, KeepsOneUnitForAWholeColumn) {
    Formatter formatter(makeMetric("m", query_value_type_t::time));
    formatter.setTotalMaxValue(5.0);
    EXPECT_EQ(formatted(formatter, variant_t(0.0125)), "0.013 s");
    formatter.setTotalMaxValue(0.5);
    EXPECT_EQ(formatted(formatter, variant_t(0.0)), "0.000 ms");
}

TEST(Formatter, CountsTimesInTheQuerysUnit) {
    const auto metric = makeMetric("m", query_value_type_t::time);
    metric->attributes["timeUnit"] = variant_t(1e-6);
    EXPECT_EQ(formatted(Formatter(metric), variant_t(bk2::s64_t(2500))), "2.500 ms");
    metric->attributes["timeUnit"] = variant_t(-1.0);
    EXPECT_EQ(formatted(Formatter(metric), variant_t(bk2::s64_t(2))), "2.000 s") << "a nonsense unit is none";
}

TEST(Formatter, WritesPercentOfTheSum) {
    Formatter formatter(makeMetric("m"));
    for (const char* format : {"percent", "percent_by"}) {
        ASSERT_TRUE(formatter.setCurrentFormat(format));
        formatter.setSumOfValues(variant_t());
        EXPECT_EQ(formatted(formatter, variant_t(bk2::s64_t(1))), "");
        formatter.setSumOfValues(variant_t(bk2::s64_t(8)));
        EXPECT_EQ(formatted(formatter, variant_t(bk2::s64_t(1))), "12.5%");
        formatter.setSumOfValues(variant_t(bk2::s64_t(0)));
        EXPECT_EQ(formatted(formatter, variant_t(bk2::s64_t(1))), "0.0%");
    }
}

TEST(Formatter, RefusesUnknownFormats) {
    Formatter formatter(makeMetric("m"));
    EXPECT_FALSE(formatter.setCurrentFormat("roman"));
    EXPECT_EQ(formatter.getCurrentFormat(), "count");
}

TEST(Formatter, OffersTheQuerysOwnFormatFirst) {
    using formats_t = std::vector<std::string>;
    const auto metric = makeMetric("m", query_value_type_t::bytes);
    EXPECT_EQ(Formatter::getAvailableFormats(metric), (formats_t{"bytes", "count", "percent"}));
    metric->attributes["format"] = variant_t("hexadecimal");
    metric->percentBases = {makeMetric("base")};
    EXPECT_EQ(Formatter::getAvailableFormats(makeVector({metric})),
              (formats_t{"hexadecimal", "bytes", "count", "percent", "percent_by"}));
    metric->attributes["format"] = variant_t("roman");
    EXPECT_EQ(Formatter(metric).getCurrentFormat(), "bytes");
    EXPECT_EQ(Formatter::getAvailableFormats(nullptr), formats_t{"text"});
}

TEST(Formatter, KnowsTheFormatOfEachGroupingLevel) {
    const auto inner = bk2::make_sptr<FakeInfoQuery>("/Address");
    inner->type = query_value_type_t::address;
    const auto outer = bk2::make_sptr<FakeInfoQuery>("/Function");
    outer->levelBelow = inner;
    EXPECT_TRUE(Formatter::getQueryFormats(outer).empty()) << "no level asks for one";
    inner->attributes["format"] = variant_t("number");
    EXPECT_EQ(Formatter::getQueryFormats(outer), (std::vector<std::string>{"text", "number"}));
    EXPECT_TRUE(Formatter::getQueryFormats(makeMetric("m")).empty());
}

TEST(CellText, ReadsCellsAsAPersonDoes) {
    const auto metric = makeMetric("/Metrics/cycles");
    auto tree = makeTree({{metric, dataface1::column_data, "", {}, variant_t(bk2::s64_t(8000))}},
                         "main | 2000\n | 1");
    const auto rows = tree->getRows(nullptr);
    EXPECT_EQ(getFormattedCellContents(*rows->current(), tree->column(1)), "2,000");
    metric->attributes["format"] = variant_t("percent");
    EXPECT_EQ(getFormattedCellContents(*rows->current(), tree->column(1)), "25.0%");
    rows->next();
    EXPECT_EQ(getFormattedCellContents(*rows->current(), tree->column(0)), "[Unknown]");
}

TEST(CellText, NamesColumnsAndSortContents) {
    const auto metric = makeMetric("/Metrics/cycles");
    metric->displayName = "Cycles";
    auto tree = makeTree({{metric, dataface1::column_data, "Cycles:Self"}, {metric}}, "");
    EXPECT_EQ(dataface1::getColumnName(tree->column(1)), "Cycles:Self");
    EXPECT_EQ(dataface1::getColumnName(tree->column(2)), "Cycles");
    EXPECT_EQ(dataface1::getSortValueType(metric), dataface1::cell_value);
    metric->attributes["hasSortRank"] = variant_t(true);
    EXPECT_EQ(dataface1::getSortValueType(makeVector({metric})), dataface1::cell_sort_rank);
    EXPECT_EQ(dataface1::getSortValueType(nullptr), dataface1::cell_value);
}

} // namespace
} // namespace panedeck::tests
