#pragma once

#include "dataface/table_tree.h"
#include "dataface/table_tree_helper.h"

#include <string>
#include <vector>

namespace panedeck {

/// The values of one column that sorting compares: those of its cells, or where the format is a percentage
/// the numbers that it shows. What is the same for all rows is looked up once. Reading is safe from several
/// threads.
class RawValues {
public:
    /// `helper` may be null: a percentage of a difference is then unknown. `hasBaseRows` as in `GridColumn`.
    RawValues(const dataface1::IColumnInfo& columnInfo, const std::string& format,
              dataface1::ITableTreeHelper* helper, bool hasBaseRows);

    /// Null if the cell has no value, or no 100%.
    bk2::variant_t of(const dataface1::ITableRow& row) const;

private:
    struct Part {
        bk2::sptr_t<dataface1::IColumnInfo> column;
        bk2::sptr_t<dataface1::IColumnInfo> base;
        bk2::variant_t baseTotal;
    };

    void addPart(bk2::sptr_t<dataface1::IColumnInfo> column);
    bk2::variant_t percentage(const Part& part, const dataface1::ITableRow& row) const;
    bk2::variant_t baseOf(const Part& part, const dataface1::ITableRow& row) const;

    bool m_isPercent;
    bool m_isOfMetric;
    bool m_hasBaseRows;
    bool m_isDifference;
    std::vector<Part> m_parts; ///< the column, or of a difference the two that it is between
};

} // namespace panedeck
