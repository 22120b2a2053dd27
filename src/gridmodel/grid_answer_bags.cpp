#include "gridmodel/grid_bags.h"

#include <algorithm>
#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace panedeck {

namespace {

using bk2::variant_bag_t;
using bk2::variant_t;

/// How long a pane waits before it asks again for rows that are not there yet.
constexpr int wait_milliseconds = 1000;

bool isOneOf(RequestType type, std::initializer_list<RequestType> types) {
    return std::find(types.begin(), types.end(), type) != types.end();
}

void saveColumns(const GridModel& grid, variant_bag_t& answer) {
    variant_bag_t& columns = answer.add_variant_bag("columns");
    columns.put<variant_t>("arrayOf", variant_t::borrow("column"));
    for (int index = 0; index < grid.getColumnCount(); ++index)
        grid.saveColumnDataToVBag(index, columns.add_variant_bag("column"));
}

void saveColumnHierarchy(const ColumnHierarchy& root, variant_bag_t& answer) {
    std::vector<std::pair<const ColumnHierarchy*, variant_bag_t*>> open{
        {&root, &answer.add_variant_bag("columnHierarchy")}};
    while (!open.empty()) {
        const auto [node, bag] = open.back();
        open.pop_back();
        if (node->children.empty()) continue;
        variant_bag_t& columns = bag->add_variant_bag("columns");
        columns.put<variant_t>("arrayOf", variant_t::borrow("column"));
        for (const ColumnHierarchy& child : node->children) {
            variant_bag_t& column = columns.add_variant_bag("column");
            column.put<variant_t>("dataIndex", variant_t(child.dataIndex));
            column.put<variant_t>("isCollapsed", variant_t(child.isCollapsed));
            column.put<variant_t>("isHidden", variant_t(child.isHidden));
            open.emplace_back(&child, &column);
        }
    }
}

/// Writes the child `view` of an answer, key by key in the order in which panes have always got them.
class ViewWriter {
public:
    ViewWriter(RequestType type, GridModel& grid, const GridViewParams& params, variant_bag_t& answer)
        : m_type(type), m_grid(grid), m_params(params), m_view(answer.add_variant_bag("view")) {}

    void write() {
        put("startRow", variant_t(m_params.startRow));
        put("rowCount", variant_t(m_grid.getRowCount()));
        writeCurrentRow();
        if (mustWait()) put("waitTime", variant_t(wait_milliseconds));
        writeExpanded();
        if (!isOneOf(m_type, {ScrollRequest, SelectRequest})) put("forceUpdate", variant_t(1));
        writeSorting();
        put("multiselection", variant_t(m_grid.getSelectedCount() > 1));
    }

    /// True if the window reaches behind rows that are not there yet.
    bool mustWait() const {
        return m_params.startRow != 0 &&
               std::int64_t{m_params.startRow} + m_params.rowCount > m_grid.getRowCount();
    }

private:
    void put(const char* name, variant_t value) { m_view.put<variant_t>(name, std::move(value)); }

    void writeCurrentRow() {
        const bool focused = !m_params.focusRowReferences.empty();
        if (focused || !isOneOf(m_type, {ScrollRequest, SelectRequest, PositionRequest}))
            put("currentRow", variant_t(m_grid.getCurrentRow()));
        if (!focused && !isOneOf(m_type, {SortRequest, ChangeStackModeRequest})) return;
        put("scrollToCurrent", variant_t(true));
        m_grid.clearFocusRowReferences();
    }

    void writeExpanded() {
        if (m_type != ExpandRequest || m_params.expandedRow < 0) return;
        variant_bag_t& expanded = m_view.add_variant_bag("expanded");
        expanded.put<variant_t>("row", variant_t(m_params.expandedRow));
        expanded.put<variant_t>("id", variant_t(std::to_string(m_grid.getRowId(m_params.expandedRow))));
        expanded.put<variant_t>("rowCount", variant_t(m_params.expandedCount));
    }

    void writeSorting() {
        if (!isOneOf(m_type, {SortRequest, RefreshRequest, PositionRequest})) return;
        variant_bag_t& sorting = m_view.add_variant_bag("sorting");
        sorting.put<variant_t>("column", variant_t(m_grid.getSorting().getColumnIndex()));
        sorting.put<variant_t>("descending", variant_t(m_grid.getSorting().isDescending()));
        if (!m_params.focusColumnName.empty())
            put("focusColumnIndex", variant_t(m_grid.getSorting().getColumnIndex()));
    }

    RequestType m_type;
    GridModel& m_grid;
    const GridViewParams& m_params;
    variant_bag_t& m_view;
};

void saveRows(const GridModel& grid, const GridViewParams& params, variant_bag_t& answer) {
    variant_bag_t& rows = answer.add_variant_bag("rows");
    rows.put<variant_t>("arrayOf", variant_t::borrow("row"));
    const auto end =
        std::min<std::int64_t>(std::int64_t{params.startRow} + params.rowCount, grid.getRowCount());
    for (int row = params.startRow; row < end; ++row)
        grid.saveRegularRowToVBag(row, rows);
}

} // namespace

bool saveGridModelToVBag(RequestType requestType, const bk2::sptr_t<GridModel>& grid,
                         bk2::variant_bag_t& answer) {
    if (!grid) return false;
    GridModel::Lock lock(grid);
    if (isOneOf(requestType, {SortRequest, ChangeStackModeRequest}) ||
        !grid->getViewParams().focusRowReferences.empty())
        grid->centerViewByCurrentRow();
    const GridViewParams params = grid->fitViewParams();
    if (grid->getColumnCount() <= 0) return false;
    if (requestType == RefreshRequest) {
        saveColumns(*grid, answer);
        saveColumnHierarchy(grid->getColumnHierarchy(), answer);
    }
    ViewWriter view(requestType, *grid, params, answer);
    view.write();
    grid->saveFooterRowToVBag(answer);
    if (!view.mustWait()) saveRows(*grid, params, answer);
    grid->saveSearchResultToVBag(answer);
    return true;
}

} // namespace panedeck
