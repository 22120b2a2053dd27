// The formats of a column and the texts of its cells.

#include "basekit/assertion.h"
#include "dataface/formatter.h"
#include "gridmodel/gridcolumn.h"
#include "gridmodel/raw_values.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace panedeck {

using bk2::variant_t;
using dataface1::Formatter;
using dataface1::IInfoQuery;

namespace {

/// The first of the formats that is, or is not, a percent format.
std::string firstFormat(const std::vector<std::string>& formats, bool percent, const char* otherwise) {
    const auto found = std::find_if(formats.begin(), formats.end(), [percent](const std::string& format) {
        return Formatter::isPercentFormat(format) == percent;
    });
    return found == formats.end() ? otherwise : *found;
}

} // namespace

void GridColumn::initColumnFormats() {
    initAvailableFormats();
    const bool wantsPercent = (m_columnInfo->getFlags() & dataface1::column_difference) != 0;
    std::string format = dataface1::getFormat(*m_columnInfo, nullptr);
    if (Formatter::isPercentFormat(format) != wantsPercent)
        format = firstFormat(Formatter::getAvailableFormats(m_query), wantsPercent,
                             wantsPercent ? "percent" : "text");
    m_formats.assign(1, format);

    const auto queryFormats = Formatter::getQueryFormats(m_columnInfo->getQuery());
    if (queryFormats.size() > 1)
        m_formats.insert(m_formats.end(), queryFormats.begin() + 1, queryFormats.end());
}

void GridColumn::initAvailableFormats() {
    if (!m_isCollapsible) return;
    const bool offersPercent = (m_columnInfo->getFlags() & dataface1::column_difference) != 0;
    for (const std::string& id : Formatter::getAvailableFormats(m_query)) {
        if (Formatter::isPercentFormat(id) && !offersPercent) continue;
        const std::string displayName = m_catalog ? m_catalog->text("%" + id) : std::string();
        m_availableFormats[id] = id == "percent_by"
                                     ? std::make_shared<GridColumnPercentByFormat>(id, displayName, m_query)
                                     : std::make_shared<GridColumnFormat>(id, displayName);
    }
}

std::size_t GridColumn::formatIndex(int level) const {
    return static_cast<std::size_t>(std::clamp(level, 0, static_cast<int>(m_formats.size()) - 1));
}

const std::string& GridColumn::getFormat(int level) const {
    return m_formats[formatIndex(level)];
}

void GridColumn::setCurrentFormat(const std::string& format) {
    m_formats.front() = format;
    m_cellFormats.clear();
    m_rawValues.reset();
}

const RawValues& GridColumn::getRawValues() const {
    if (!m_rawValues)
        m_rawValues = std::make_shared<RawValues>(*m_columnInfo, m_formats.front(), m_tableTreeHelper.get(),
                                                  m_hasBaseRows);
    return *m_rawValues;
}

GridColumn::CellFormat GridColumn::makeCellFormat(const bk2::sptr_t<dataface1::IQuery>& rowQuery,
                                                  std::size_t level) const {
    const auto query = isGrouping() ? dataface1::throughVector(rowQuery) : m_query;
    const std::string& format = m_formats[level];
    CellFormat made{rowQuery, level, Formatter(query), Formatter::isPercentFormat(format), false, {}};
    made.formatter.setCurrentFormat(format);
    if (const auto info = IInfoQuery::cast(query)) {
        made.hasAlias = true;
        made.aliasForUnknown = info->getAliasForUnknown();
    }
    if (made.isPercent)
        made.formatter.setTotalMaxValue(std::fabs(Formatter::varToDouble(getAbsMaxValue(*m_columnInfo))));
    return made;
}

bool GridColumn::isGrouping() const {
    return (m_columnInfo->getFlags() & dataface1::column_grouping) != 0;
}

GridColumn::CellFormat& GridColumn::cellFormat(const dataface1::ITableRow& row, int level) const {
    // A provider that gives a query of its own to each row gains nothing here and must cost no memory.
    constexpr std::size_t most_kept = 32;
    const auto rowQuery = isGrouping() ? row.getQuery() : nullptr;
    const std::size_t index = formatIndex(level);
    for (CellFormat& known : m_cellFormats)
        if (known.rowQuery == rowQuery && known.level == index) return known;
    if (m_cellFormats.size() == most_kept) m_cellFormats.clear();
    return m_cellFormats.emplace_back(makeCellFormat(rowQuery, index));
}

variant_t GridColumn::cellValue(const dataface1::ITableRow& row) const {
    variant_t value;
    const bool status = row.getValue(m_columnInfo.get(), dataface1::cell_value, value);
    PANEDECK_EXPECT(status, "status");
    return value;
}

void GridColumn::formatValue(const dataface1::ITableRow& row, const variant_t& value, std::string& text,
                             int level) const {
    CellFormat& format = cellFormat(row, level);
    if (value.is_null() && format.hasAlias) {
        text = format.aliasForUnknown;
        return;
    }
    if (format.isPercent) format.formatter.setSumOfValues(percentBase(row, getFormat(level)));
    format.formatter.format(value, text);
}

void GridColumn::formatCell(const dataface1::ITableRow& row, std::string& text, int level) const {
    formatValue(row, cellValue(row), text, level);
}

variant_t GridColumn::percentBase(const dataface1::ITableRow& row, const std::string& format) const {
    if (format == "percent_by") return percentBaseOfMetric(row);
    PercentBaseRow baseRow(row);
    return percentBase(baseRow);
}

variant_t GridColumn::percentBase(PercentBaseRow& baseRow) const {
    const dataface1::IColumnInfo& base = baseColumn();
    const auto row = m_hasBaseRows ? baseRow.get() : nullptr;
    if (!row) return m_baseTotal;
    variant_t value;
    return row->getValue(&base, dataface1::cell_value, value) ? value : variant_t();
}

variant_t GridColumn::percentBaseOfMetric(const dataface1::ITableRow& row) const {
    variant_t base;
    return row.getValue(m_columnInfo.get(), dataface1::cell_percent_base, base) ? base : variant_t();
}

const dataface1::IColumnInfo& GridColumn::baseColumn() const {
    if (!m_baseColumn) {
        m_baseColumn = findPercentBaseColumn(*m_columnInfo);
        if (!m_baseColumn->getAttribute(dataface1::column_total_value, m_baseTotal)) m_baseTotal.free_data();
    }
    return *m_baseColumn;
}

dataface1::query_value_type_t GridColumn::getValueType(int level) const {
    if (m_valueTypes.empty()) findValueTypes();
    // Levels beyond the last are the last, which is recursive.
    const auto last = static_cast<int>(m_valueTypes.size()) - 1;
    return m_valueTypes[static_cast<std::size_t>(std::clamp(level, 0, last))];
}

void GridColumn::findValueTypes() const {
    const auto add = [this](const bk2::sptr_t<dataface1::IQuery>& query) {
        m_valueTypes.push_back(query ? query->getValueType() : dataface1::query_value_type_t::text);
    };
    if (!isGrouping()) return add(m_query);
    auto level = m_columnInfo->getQuery();
    do {
        add(dataface1::throughVector(level));
        if (level) level = level->getLevelBelow();
    } while (level);
}

} // namespace panedeck
