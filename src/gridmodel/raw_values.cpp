#include "gridmodel/raw_values.h"

#include "dataface/formatter.h"
#include "gridmodel/percent_base.h"

#include <utility>

namespace panedeck {

using bk2::sptr_t;
using bk2::variant_t;
using dataface1::Formatter;
using dataface1::IColumnInfo;
using dataface1::ITableRow;

RawValues::RawValues(const IColumnInfo& columnInfo, const std::string& format,
                     dataface1::ITableTreeHelper* helper, bool hasBaseRows)
    : m_isPercent(Formatter::isPercentFormat(format)), m_isOfMetric(format == "percent_by"),
      m_hasBaseRows(hasBaseRows),
      m_isDifference(m_isPercent && (columnInfo.getFlags() & dataface1::column_difference)) {
    // References are counted in the object, so a pointer to hold may be made of it.
    const sptr_t<IColumnInfo> column(const_cast<IColumnInfo*>(&columnInfo));
    if (!m_isDifference) {
        addPart(column);
        return;
    }
    const auto query = columnInfo.getQuery();
    const std::uint32_t flags = columnInfo.getFlags() & ~std::uint32_t{dataface1::column_value_kinds};
    for (const std::uint32_t side : {dataface1::column_first, dataface1::column_second})
        addPart(helper && query ? helper->findColumn(*query, flags | side) : nullptr);
}

void RawValues::addPart(sptr_t<IColumnInfo> column) {
    Part part;
    if (column && m_isPercent) {
        part.base = findPercentBaseColumn(*column);
        if (!part.base->getAttribute(dataface1::column_total_value, part.baseTotal))
            part.baseTotal.free_data();
    }
    part.column = std::move(column);
    m_parts.push_back(std::move(part));
}

variant_t RawValues::of(const ITableRow& row) const {
    if (!m_isDifference) return percentage(m_parts.front(), row);
    const variant_t first = percentage(m_parts[0], row), second = percentage(m_parts[1], row);
    if (first.is_null() && second.is_null()) return {};
    return variant_t(Formatter::varToDouble(first) - Formatter::varToDouble(second));
}

variant_t RawValues::percentage(const Part& part, const ITableRow& row) const {
    variant_t value;
    if (!part.column || !row.getValue(part.column.get(), dataface1::cell_value, value)) return {};
    if (!m_isPercent) return value;
    const variant_t base = baseOf(part, row);
    if (value.is_null() || base.is_null()) return {};
    const double divisor = Formatter::varToDouble(base);
    return variant_t(divisor == 0 ? 0.0 : Formatter::varToDouble(value) / divisor);
}

variant_t RawValues::baseOf(const Part& part, const ITableRow& row) const {
    variant_t base;
    if (m_isOfMetric) {
        if (!row.getValue(part.column.get(), dataface1::cell_percent_base, base)) base.free_data();
        return base;
    }
    PercentBaseRow baseRow(row);
    if (!m_hasBaseRows || !baseRow.get()) return part.baseTotal;
    return baseRow.get()->getValue(part.base.get(), dataface1::cell_value, base) ? base : variant_t();
}

} // namespace panedeck
