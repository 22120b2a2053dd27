#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/object_interface.h"
#include "basekit/sptr.h"
#include "basekit/variant.h"
#include "basekit/variant_bag.h"
#include "dataface/input_data.h"
#include "dataface/table_tree.h"
#include "gridmodel/grid_view_params.h"
#include "gridmodel/row_state.h"
#include "gridmodel/sorting.h"
#include "notifykit/progress.h"

#include <cstdint>
#include <memory>
#include <string>

namespace portkit2 {
class catalog_t;
}

namespace panedeck {

/// Marks rows that a pane is to show in another way.
class PANEDECK_API IHighlighter {
public:
    virtual ~IHighlighter();
    virtual bool isHighlighted(const dataface1::ITableRow& row) const = 0;
};

/// The view model of one grid of one pane: a paged, sorted, expandable view over a table tree.
///
/// Rows are named by their index among the visible rows, which changes with expansion and sort, or by their
/// row id, which lasts as long as the tree. Every operation wants the model's lock (`GridModel::Lock`) held
/// by the calling thread.
class PANEDECK_API IGridModel : public bk2::object_interface_t {
public:
    /// Takes a new tree: columns and top rows are read anew. With the same grouping as before, expansion and
    /// the current row come back by content; with another one the sort comes from `sortingInfo`. Fails on a
    /// null tree and gives back the cancelled error; the model may then be half filled, and the next call
    /// repairs it.
    virtual bk2::error_code_t init(const bk2::sptr_t<dataface1::ITableTree>& tree,
                                   const GridViewParams& viewParams, StackMode stackMode,
                                   const SortingInfo& sortingInfo, notifykit2::IProgress* progress) = 0;
    virtual int getRowCount() const = 0;
    virtual int getColumnCount() const = 0;
    virtual bk2::sptr_t<dataface1::IColumnInfo> getColumnInfoByIndex(int index) const = 0;
    virtual bk2::variant_t getCellContentByIndex(int row, int column) const = 0;
    /// Opens or closes a row; the rows that it gained stand in the view parameters afterwards.
    virtual void expandRow(int row, bool expand, notifykit2::IProgress* progress) = 0;
    virtual RowState getRowState(int row) const = 0;
    virtual void toggleStackMode(const StackMode& mode, notifykit2::IProgress* progress) = 0;
    virtual bk2::error_code_t sort(const SortingCondition& condition) = 0;
    /// Changes the selection (`SelectionType`); a row id other than 0 wins over the index.
    virtual bk2::error_code_t processRowSelection(int row, std::uint64_t rowId, int type) = 0;
    /// 0 for an index out of range.
    virtual std::uint64_t getRowId(int row) const = 0;
    virtual bool isSelected(int row) const = 0;
    /// -1 when there is none.
    virtual int getCurrentRow() const = 0;
    virtual GridViewParams getViewParams() const = 0;
    /// The selected rows as tab-separated text, as shown; stops after the row that passes 65534 bytes.
    virtual bk2::error_code_t copySelectedRowsToString(std::string& text) const = 0;
    /// All visible rows; `writer` is used by this call only.
    virtual bk2::error_code_t exportToCsv(std::shared_ptr<class CSVWriter> writer,
                                          notifykit2::IProgress* progress) const = 0;
    virtual void setHighlighter(std::shared_ptr<IHighlighter> highlighter) = 0;
    /// Appends a child `row` with the row's cells to `bag`.
    virtual void saveRegularRowToVBag(int row, bk2::variant_bag_t& bag) const = 0;

    /// A model without a tree. `catalog` is not owned and may be null, `extraInputData` is null unless two
    /// results are open.
    static bk2::sptr_t<IGridModel> create(GridType gridType, const portkit2::catalog_t* catalog,
                                          bk2::sptr_t<dataface1::IInputData> inputData,
                                          bk2::sptr_t<dataface1::IInputData> extraInputData);

protected:
    ~IGridModel() override;
};

} // namespace panedeck
