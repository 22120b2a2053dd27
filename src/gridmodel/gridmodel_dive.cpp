#include "basekit/assertion.h"
#include "gridmodel/gridmodel.h"
#include "gridmodel/request_values.h"

#include <vector>

namespace panedeck {

namespace {

/// The name of the grouping of that level: levels beyond the last are the last, which is recursive.
std::string groupingName(bk2::sptr_t<dataface1::IQuery> query, int level) {
    for (; level > 0 && query; --level) {
        const auto below = query->getLevelBelow();
        if (!below) break;
        query = below;
    }
    const auto own = dataface1::throughVector(query);
    return own ? own->getName() : std::string();
}

} // namespace

bk2::error_code_t GridModel::createDiveFiltersFromBag(const bk2::variant_bag_t& request,
                                                      bk2::sptr_t<dataface1::IQueryFilter>& targetFilter,
                                                      bk2::sptr_t<dataface1::IQueryFilter>& dataFilter,
                                                      std::string& groupingId) {
    int rowIndex = -1;
    if (m_viewParams.focusRowReferences.empty())
        rowIndex = getAddressedRow(readInteger(request, "row", -1), readRowId(request, 0));
    else
        (void)findRow(rowIndex);
    PANEDECK_REQUIRE(rowIndex >= 0 && rowIndex < getRowCount(), "(rowIndex >= 0 && rowIndex < getRowCount())",
                     bk2::kinds::is_not_valid_argument, "");
    const auto filterTree = bk2::interface_cast<dataface1::IFilterTableTree>(m_tree);
    const bool status = !filterTree.is_null();
    PANEDECK_REQUIRE(status, "status", bk2::kinds::failed_to_get_the_filter, "");
    RowPtr front;
    PANEDECK_PASS_ON(getChainedTableRow(getRowByIndex(rowIndex), front));
    const std::vector<RowPtr> rows{front};
    if (const auto column = getGroupingColumn())
        groupingId = groupingName(column->getQuery(), getRowLevel(rowIndex));
    PANEDECK_PASS_ON(
        filterTree->createFilter(rows, 0, dataface1::IFilterTableTree::rows_alone, targetFilter, 1));
    return filterTree->createFilter(rows, 0, dataFilterMode(), dataFilter, 0);
}

int GridModel::getAddressedRow(int row, std::uint64_t rowId) const {
    const bool named = rowId != 0 && rowId != GridViewParams().rowId;
    return named ? getRowIndexById(row, rowId, false) : row;
}

} // namespace panedeck
