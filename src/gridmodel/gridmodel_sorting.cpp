#include "basekit/assertion.h"
#include "dataface/formatter.h"
#include "gridmodel/fold_case.h"
#include "gridmodel/gridmodel.h"
#include "gridmodel/raw_values.h"
#include "gridmodel/sibling_order.h"

#include <tbb/blocked_range.h>
#include <tbb/parallel_for.h>
#include <tbb/task_arena.h>

#include <string>
#include <utility>

namespace panedeck {

namespace {

constexpr int no_contents = -1;

bool isText(const bk2::variant_t& value) {
    return value.is_narrow_text() || value.is_wide_text();
}

} // namespace

/// Which contents of a row's cell order it. Rows of one query have the same, so that a grid asks once for
/// many.
class GridModel::SortContents {
public:
    SortContents(const GridModel& grid, const GridColumn& column)
        : m_grid(grid), m_columnInfo(*column.getColumnInfo()),
          m_isGrouping((m_columnInfo.getFlags() & dataface1::column_grouping) != 0) {}

    bool isOf(const GridColumn& column) const { return column.getColumnInfo().get() == &m_columnInfo; }

    /// `no_contents` if they cannot be told. May turn `descending` around.
    int of(const dataface1::ITableRow& row, bool& descending) {
        const auto query = m_isGrouping ? row.getQuery() : nullptr;
        if (!m_isKnown || query != m_query) ask(row, query, descending);
        descending = descending != m_turnsAround;
        return m_contents;
    }

private:
    void ask(const dataface1::ITableRow& row, const bk2::sptr_t<dataface1::IQuery>& query, bool descending) {
        m_isKnown = true;
        m_query = query;
        m_contents = dataface1::cell_value;
        bool order = descending;
        const bool res = m_grid.getSortContentTypeAndOrder(&row, &m_columnInfo, m_contents, order);
        PANEDECK_EXPECT(res, "res");
        if (!res) m_contents = no_contents;
        m_turnsAround = order != descending;
    }

    const GridModel& m_grid;
    const dataface1::IColumnInfo& m_columnInfo;
    bool m_isGrouping;
    bool m_isKnown = false;
    bool m_turnsAround = false;
    bk2::sptr_t<dataface1::IQuery> m_query;
    int m_contents = dataface1::cell_value;
};

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

void GridModel::sortSiblings(Siblings& siblings) const {
    const auto index = static_cast<std::size_t>(m_sorting.getColumnIndex());
    if (index >= m_columns.size()) return;
    bool descending = m_sorting.isDescending();
    readSortValues(siblings, *m_columns[index], descending, m_siblingOrder->values(siblings.size()));
    const Siblings unsorted(siblings);
    const bk2::array_t<std::uint32_t>& order = m_siblingOrder->sort(descending);
    for (std::size_t i = 0; i < siblings.size(); ++i)
        siblings[i] = unsorted[order[i]];
    m_siblingOrder->clear();
}

// After another sort, siblings lie anywhere in memory: the machine is to look for some while it reads others.
void GridModel::fetchAhead(const Siblings& siblings, std::size_t position, std::size_t end) {
    constexpr std::size_t items_ahead = 24, rows_ahead = 12;
    if (position + items_ahead < end) __builtin_prefetch(siblings[position + items_ahead].id);
    if (position + rows_ahead < end) __builtin_prefetch(siblings[position + rows_ahead].id->data.get());
}

void GridModel::readSortValues(const Siblings& siblings, const GridColumn& column, bool& descending,
                               bk2::array_t<bk2::variant_t>& values) const {
    // Made before several threads read with it.
    const RawValues& raw = column.getRawValues();
    if (!m_sortContents || !m_sortContents->isOf(column))
        m_sortContents = std::make_shared<SortContents>(*this, column);
    SortContents& contents = *m_sortContents;
    contents.of(*siblings.front().id->data, descending);
    const auto read = [&](std::size_t first, std::size_t end) {
        SortContents own(contents);
        bool unused = descending;
        for (std::size_t i = first; i < end; ++i) {
            fetchAhead(siblings, i, end);
            const dataface1::ITableRow& row = *siblings[i].id->data;
            values[i] = readSortValue(row, column, own.of(row, unused), raw);
        }
    };
    constexpr std::size_t rows_of_task = 4096;
    if (siblings.size() <= rows_of_task) return read(0, siblings.size());
    // The caller waits with the model locked: it must not pick up other work meanwhile.
    tbb::this_task_arena::isolate([&] {
        tbb::parallel_for(tbb::blocked_range<std::size_t>(0, siblings.size(), rows_of_task),
                          [&](const auto& range) { read(range.begin(), range.end()); });
    });
}

bk2::variant_t GridModel::readSortValue(const dataface1::ITableRow& row, const GridColumn& column,
                                        int contents, const RawValues& raw) {
    bk2::variant_t value;
    if (contents == no_contents) return value;
    if (contents == dataface1::cell_value) return raw.of(row);
    const bool status = row.getValue(column.getColumnInfo().get(), contents, value);
    PANEDECK_EXPECT(status, "status");
    return value;
}

bk2::variant_t GridModel::sortValue(const dataface1::ITableRow& row, const GridColumn& column,
                                    bool& descending) const {
    return readSortValue(row, column, SortContents(*this, column).of(row, descending), column.getRawValues());
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
    std::string textA, textB;
    foldCase(bk2::get_value_string(valueA), textA);
    foldCase(bk2::get_value_string(valueB), textB);
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
