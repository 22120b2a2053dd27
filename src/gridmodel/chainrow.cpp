#include "gridmodel/chainrow.h"

#include "basekit/assertion.h"
#include "dataface/formatter.h"
#include "gridmodel/child_columns.h"
#include "gridmodel/gridmodel.h"

#include <algorithm>
#include <iterator>
#include <string>
#include <utility>

namespace panedeck {

namespace {

constexpr std::size_t longest_text = 1000;

struct ChainMarks {
    const char* prefix;
    const char* joint;
};

ChainMarks marksOf(GridType gridType) {
    return gridType == GridBottomUp ? ChainMarks{"↖ ", " ← "} : ChainMarks{"↘ ", " → "};
}

bool sameCell(const ChainRow::RowPtr& row1, const ChainRow::RowPtr& row2,
              const dataface1::IColumnInfo& column) {
    bk2::variant_t value1, value2;
    const bool status = row1->getValue(&column, dataface1::cell_value, value1) &&
                        row2->getValue(&column, dataface1::cell_value, value2);
    PANEDECK_EXPECT(status, "status");
    return status && value1 == value2;
}

/// Of a column and the columns that it is split into: equal sums may be made of different parts.
bool sameCells(const ChainRow::RowPtr& row1, const ChainRow::RowPtr& row2,
               bk2::sptr_t<dataface1::IColumnInfo> top) {
    std::vector<bk2::sptr_t<dataface1::IColumnInfo>> open{std::move(top)};
    while (!open.empty()) {
        const auto column = std::move(open.back());
        open.pop_back();
        if ((column->getFlags() & dataface1::column_data) && !sameCell(row1, row2, *column)) return false;
        std::ranges::move(childColumns(*column), std::back_inserter(open));
    }
    return true;
}

} // namespace

ChainRow::ChainRow(const RowPtr& row, const bk2::sptr_t<dataface1::IColumnInfo>& groupingColumn,
                   GridType gridType)
    : m_groupingColumn(groupingColumn) {
    PANEDECK_EXPECT(isRecursive(row), "isRecursive(row)");
    m_chainedRows.push_back(row);
    for (RowPtr current = getSingleChildRowOrNull(row);
         current && isRecursive(current) && containSameData(row, current);
         current = getSingleChildRowOrNull(current))
        m_chainedRows.push_back(current);
    m_text = chainText(gridType);
}

bk2::variant_t ChainRow::chainText(GridType gridType) const {
    PANEDECK_EXPECT(!m_chainedRows.empty(), "!m_chainedRows.empty()");
    const ChainMarks marks = marksOf(gridType);
    std::string text;
    for (const RowPtr& row : m_chainedRows) {
        if (text.size() > longest_text) {
            text += " ...";
            break;
        }
        if (!text.empty()) text += marks.joint;
        if (m_groupingColumn) text += dataface1::getFormattedCellContents(*row, *m_groupingColumn);
    }
    return bk2::variant_t(marks.prefix + text);
}

bool ChainRow::isRecursive(const RowPtr& row) {
    PANEDECK_EXPECT(row, "row");
    if (!row) return false;
    const auto vectorQuery = dataface1::IVectorQuery::cast(row->getQuery());
    PANEDECK_EXPECT(vectorQuery, "vectorQuery");
    if (!vectorQuery) return false;
    const auto query = vectorQuery->getUnderlyingQuery();
    PANEDECK_EXPECT(query, "query");
    const auto infoQuery = dataface1::IInfoQuery::cast(query);
    return infoQuery && !infoQuery->getRecursionText().empty();
}

ChainRow::RowPtr ChainRow::getSingleChildRowOrNull(const RowPtr& parent, notifykit2::IProgress* progress) {
    PANEDECK_EXPECT(parent, "parent");
    if (!parent) return nullptr;
    bk2::iterator_ptr_t<RowPtr> children;
    const int status = parent->getChildRows(children, progress, true);
    if (notifykit2::is_canceled(progress)) return nullptr;
    PANEDECK_EXPECT(status != dataface1::ITreeNode::ecsfError, "status != dataface1::ITreeNode::ecsfError");
    if (status == dataface1::ITreeNode::ecsfError || !children || children->at_end()) return nullptr;
    RowPtr onlyChild = children->current();
    PANEDECK_EXPECT(onlyChild, "onlyChild");
    children->next();
    return children->at_end() ? onlyChild : nullptr;
}

bool ChainRow::containSameData(const RowPtr& row1, const RowPtr& row2) {
    PANEDECK_EXPECT(row1, "row1");
    PANEDECK_EXPECT(row2, "row2");
    if (!row1 || !row2) return false;
    // A row is like itself even where a cell is not a number.
    if (row1 == row2) return true;
    const auto tableTree = row1->getTableTree();
    PANEDECK_EXPECT(tableTree, "tableTree");
    const auto columns = tableTree ? tableTree->getColumns(nullptr) : nullptr;
    if (!columns) return false;
    for (; !columns->at_end(); columns->next())
        if (!sameCells(row1, row2, columns->current())) return false;
    return true;
}

bool ChainRow::canBeBuiltFrom(const RowPtr& row) {
    if (!isRecursive(row)) return false;
    const RowPtr child = getSingleChildRowOrNull(row);
    return child && isRecursive(child);
}

bk2::sptr_t<dataface1::IQuery> ChainRow::getQuery() const {
    return m_chainedRows.front()->getQuery();
}

ChainRow::RowPtr ChainRow::getParentRow() const {
    return m_chainedRows.front()->getParentRow();
}

bk2::sptr_t<dataface1::ITableTree> ChainRow::getTableTree() const {
    return m_chainedRows.front()->getTableTree();
}

bool ChainRow::getValue(const dataface1::IColumnInfo* column, int contents, bk2::variant_t& value) const {
    if (column && column == m_groupingColumn.get() && contents == dataface1::cell_value) {
        value = m_text;
        return true;
    }
    if (contents == dataface1::cell_chain_front) {
        value = bk2::variant_t(bk2::sptr_t<bk2::object_interface_t>(m_chainedRows.front()));
        return true;
    }
    return m_chainedRows.front()->getValue(column, contents, value);
}

int ChainRow::getChildRows(bk2::iterator_ptr_t<RowPtr>& children, notifykit2::IProgress* progress,
                           bool all) const {
    return m_chainedRows.back()->getChildRows(children, progress, all);
}

bk2::error_code_t getChainedTableRow(const bk2::sptr_t<dataface1::ITableRow>& row,
                                     bk2::sptr_t<dataface1::ITableRow>& result) {
    bk2::variant_t front;
    if (!row->getValue(nullptr, dataface1::cell_chain_front, front) || front.is_null()) {
        result = row;
        return bk2::error_code_t::success();
    }
    PANEDECK_REQUIRE(front.tag() == bk2::vt_object, "chainRowFront.can_get<bk2::notype_ptr_t>()",
                     bk2::kinds::is_not_valid_data, "Invalid ChainRow front content.");
    result = bk2::interface_cast<dataface1::ITableRow>(front.object());
    PANEDECK_REQUIRE(result, "result", bk2::kinds::failed_to_get_the_object,
                     "Failed to get row from ChainRow.");
    return bk2::error_code_t::success();
}

} // namespace panedeck
