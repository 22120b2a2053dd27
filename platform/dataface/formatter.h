#pragma once

// Needed by columns, search, export and the plain table: from a cell's value to the text that a person reads.

#include "basekit/api.h"
#include "basekit/sptr.h"
#include "basekit/variant.h"
#include "dataface/query.h"
#include "dataface/table_tree.h"

#include <string>
#include <string_view>
#include <vector>

namespace dataface1 {

/// Turns values into text in one of the formats: "time" (the unit that suits the value), "count" (thousands
/// apart), "bytes", "number", "hexadecimal", "percent" (of the sum of values), "percent_by" (of another
/// metric's value), "text".
///
/// Holds a format and the numbers that percent formats need; made for a column and used for many cells. Not
/// for two threads at a time.
class PANEDECK_API Formatter {
public:
    /// Formats for the values of `query`: its value type and attributes ("timeUnit", "format") count. The
    /// query may be null: text.
    explicit Formatter(const bk2::sptr_t<IQuery>& query);

    /// An unknown id is kept out: the format stays and the answer is false.
    bool setCurrentFormat(const std::string& format);
    const std::string& getCurrentFormat() const { return m_format; }

    /// The 100% of the percent formats. Null takes it away: a percent format then shows nothing.
    void setSumOfValues(const bk2::variant_t& sum) { m_sum_of_values = sum; }
    /// The greatest value that will be shown: fixes the unit and the digits of a whole column.
    void setTotalMaxValue(double maximum) { m_total_maximum = maximum; }

    /// Replaces `text` by the value's text, in the room that it has; a null value gives "".
    void format(const bk2::variant_t& value, std::string& text) const;

    static bool isPercentFormat(std::string_view format);
    /// All formats that a column of this query can be switched to, its own first.
    static std::vector<std::string> getAvailableFormats(const bk2::sptr_t<IQuery>& query);
    /// The formats that an info query asks for by itself, one per grouping level; empty if it asks for none.
    static std::vector<std::string> getQueryFormats(const bk2::sptr_t<IQuery>& query);
    /// The number in any numeric value, 0 for the rest.
    static double varToDouble(const bk2::variant_t& value);

private:
    enum class kind_t { time, count, bytes, number, hexadecimal, percent, text };

    static kind_t kind_of(std::string_view format);
    double greatest_beside(double value) const;

    std::string m_format;
    kind_t m_kind;
    double m_seconds_per_unit = 1;
    bk2::variant_t m_sum_of_values;
    double m_total_maximum = 0;
};

/// The default format of a column's cells in `row`; the row may be null.
PANEDECK_API std::string getFormat(const IColumnInfo& column, const ITableRow* row);

/// Which contents of a cell order the rows of `query`: the value, or `cell_sort_rank` if the query's
/// attribute "hasSortRank" says that the provider has ranks at hand.
PANEDECK_API int getSortValueType(const bk2::sptr_t<IQuery>& query);

/// Any value as plain text (`bk2::get_value_string`).
PANEDECK_API std::string variantToString(const bk2::variant_t& value);

/// A cell as a person reads it, in the column's default format; an unknown value of an info query is its
/// alias.
PANEDECK_API std::string getFormattedCellContents(const ITableRow& row, const IColumnInfo& column);

/// The column's full name: its internal name (attribute 6), or the query's display name if it has none.
PANEDECK_API std::string getColumnName(const IColumnInfo& column);

} // namespace dataface1
