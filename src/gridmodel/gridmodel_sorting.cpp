#include "basekit/assertion.h"
#include "dataface/formatter.h"
#include "gridmodel/gridmodel.h"
#include "gridmodel/sibling_order.h"

#include <utility>

namespace panedeck {

namespace {

bool isText(const bk2::variant_t& value) {
    return value.is_narrow_text() || value.is_wide_text();
}

} // namespace

bk2::error_code_t GridModel::sort(const SortingCondition& condition) {
    const bool valid = condition.isInitialized() && condition.getColumnIndex() >= 0 &&
                       condition.getColumnIndex() < static_cast<int>(m_columns.size());
    PANEDECK_REQUIRE(valid,
                     "sortingCondition.isInitialized() && (sortingCondition.getColumnIndex() < "
                     "static_cast<int>(m_columns.size()))",
                     bk2::kinds::is_not_valid_argument, "Invalid sorting condition specified.");
    m_searchHelper.reset();
    m_sorting = condition;
    const ColumnPtr column = m_columns[static_cast<std::size_t>(condition.getColumnIndex())];
    sortAllRows();
    return bk2::error_code_t::success();
}

void GridModel::sortSiblings(std::vector<Sortable>& siblings) const {
    const auto index = static_cast<std::size_t>(m_sorting.getColumnIndex());
    if (index >= m_columns.size()) return;
    const GridColumn& column = *m_columns[index];
    bool descending = m_sorting.isDescending();
    std::vector<bk2::variant_t> values(siblings.size());
    for (std::size_t i = 0; i < siblings.size(); ++i)
        values[i] = sortValue(*siblings[i].id->data, column, descending);
    std::vector<Sortable> sorted;
    sorted.reserve(siblings.size());
    for (const std::uint32_t origin : SiblingOrder(std::move(values)).sorted(descending))
        sorted.push_back(siblings[origin]);
    siblings = std::move(sorted);
}

bk2::variant_t GridModel::sortValue(const dataface1::ITableRow& row, const GridColumn& column,
                                    bool& descending) const {
    const auto& columnInfo = column.getColumnInfo();
    int contents = dataface1::cell_value;
    const bool res = getSortContentTypeAndOrder(&row, columnInfo.get(), contents, descending);
    PANEDECK_EXPECT(res, "res");
    bk2::variant_t value;
    if (!res) return value;
    if (contents == dataface1::cell_value) return getRawValue(&row, columnInfo.get(), column.getFormat(0));
    const bool status = row.getValue(columnInfo.get(), contents, value);
    PANEDECK_EXPECT(status, "status");
    return value;
}

bool GridModel::compareItems(const RowPtr& a, const RowPtr& b) const {
    const auto index = static_cast<std::size_t>(m_sorting.getColumnIndex());
    return index < m_columns.size() && compare(a, b, *m_columns[index], m_sorting.isDescending());
}

bool GridModel::compare(const RowPtr& a, const RowPtr& b, const GridColumn& column, bool descending) const {
    if (!a || !b || !column.getColumnInfo()) return false;
    const bk2::variant_t valueA = sortValue(*a, column, descending);
    bool unused = descending;
    const bk2::variant_t valueB = sortValue(*b, column, unused);
    if (valueA.is_null() && valueB.is_null()) return false;
    if (valueA.is_null()) return !descending;
    if (valueB.is_null()) return descending;
    if (!isText(valueA) && !isText(valueB)) return descending ? valueA > valueB : valueA < valueB;
    const auto textA = portkit2::lower_case(bk2::get_value_string(valueA));
    const auto textB = portkit2::lower_case(bk2::get_value_string(valueB));
    return descending ? textA > textB : textA < textB;
}

bool GridModel::getSortContentTypeAndOrder(const dataface1::ITableRow* row,
                                           const dataface1::IColumnInfo* columnInfo, int& contents,
                                           bool&) const {
    if (!row || !columnInfo) return false;
    const bool grouping = columnInfo->getFlags() & dataface1::column_grouping;
    contents = dataface1::getSortValueType(
        dataface1::throughVector(grouping ? row->getQuery() : columnInfo->getQuery()));
    return true;
}

SortingCondition GridModel::createSortingFromColumnName(const std::string& name) const {
    for (std::size_t index = 0; index < m_columns.size(); ++index)
        if (m_columns[index]->getColumnCaption() == name) return {static_cast<int>(index), true};
    return {};
}

bk2::error_code_t GridModel::setSortingConditionByPersistedState(const SortingInfo& sortingInfo) {
    if (sortingInfo.queryName.empty() || sortingInfo.queryFlag < 0)
        return bk2::error_code_t::raise(bk2::kinds::is_not, "", __func__, __LINE__);
    for (std::size_t index = 0; index < m_columns.size(); ++index) {
        const QueryInfo& info = m_columns[index]->getQueryInfo();
        if (info.name != sortingInfo.queryName || info.flag != sortingInfo.queryFlag) continue;
        m_sorting = {static_cast<int>(index), sortingInfo.descending};
        return bk2::error_code_t::success();
    }
    return bk2::error_code_t::nothing_done();
}

void GridModel::setSortingCondition(const SortingInfo& sortingInfo) {
    if (setSortingConditionByPersistedState(sortingInfo).value() == 0) return;
    m_sorting = {-1, m_sorting.isDescending()};
    if (m_columns.empty()) return;
    std::size_t index = 1;
    while (index < m_columns.size() && !m_columns[index]->isCollapsible())
        ++index;
    if (index >= m_columns.size()) index = 0;
    const bool isData = m_columns[index]->getColumnInfo()->getFlags() & dataface1::column_data;
    m_sorting = {static_cast<int>(index), isData};
}

} // namespace panedeck
