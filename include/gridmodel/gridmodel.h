#pragma once

#include "basekit/ref_counted.h"
#include "dataface/filter_registry.h"
#include "dataface/table_tree_helper.h"
#include "gridmodel/column_set.h"
#include "gridmodel/grid_locks.h"
#include "gridmodel/grid_search_helper.h"
#include "gridmodel/gridcolumn.h"
#include "gridmodel/hierarchicalmodel.h"
#include "gridmodel/igridmodel.h"
#include "gridmodel/row_keys.h"
#include "gridmodel/selecteditems.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace panedeck {

class RawValues;
class SiblingOrder;

/// What became of the selection since it was last asked.
struct SelectionState {
    bool changed = false;
    bool cleared = false;                        ///< nothing is selected: the filter is to be dropped
    bk2::sptr_t<dataface1::IQueryFilter> filter; ///< for the selected rows; null when cleared
};

/// What is open and where the current row is, told by content, so that it outlives a tree.
struct GridRowState {
    /// For each level the keys of the open rows. An empty set stands for a level that was walked.
    std::vector<RowKeys> expandedKeys;
    bk2::variant_t focusKey;
    int focusLevel = -1; ///< -1 when there is no current row
    /// What the rows above the current one are known by, from the top: a number for each path of keys.
    bk2::array_t<std::uint64_t> pathsAboveFocus;
};

/// The one implementation of `IGridModel`.
///
/// Keeps the visible rows, the columns, sort, selection, window and search hits of a grid; cell values are
/// read from the rows when they are asked for and never kept. Everything is guarded by the model mutex
/// (`Lock`), which long reads from the data provider give up (`DBLock`).
class PANEDECK_API GridModel : public HierarchicalModel<bk2::sptr_t<dataface1::ITableRow>, IGridModel> {
public:
    using RowPtr = bk2::sptr_t<dataface1::ITableRow>;
    using ColumnPtr = std::shared_ptr<GridColumn>;
    using Model = HierarchicalModel<RowPtr, IGridModel>;

    /// Holds the model mutex and the model.
    class PANEDECK_API Lock {
    public:
        explicit Lock(bk2::sptr_t<GridModel> grid);

    private:
        bk2::sptr_t<GridModel> m_grid;
        std::optional<GridLock> m_lock;
    };

    /// Gives the model mutex up for a long read, see `GridDataLock`.
    class PANEDECK_API DBLock {
    public:
        explicit DBLock(const GridModel& grid);

    private:
        GridDataLock m_lock;
    };

    GridModel(GridType gridType, const portkit2::catalog_t* catalog,
              bk2::sptr_t<dataface1::IInputData> inputData,
              bk2::sptr_t<dataface1::IInputData> extraInputData);

    void add_ref() const override { m_references.increment(); }
    void release() const override {
        if (m_references.decrement()) delete this;
    }

    // --- Life (gridmodel.cpp) ---

    bk2::error_code_t init(const bk2::sptr_t<dataface1::ITableTree>& tree, const GridViewParams& viewParams,
                           StackMode stackMode, const SortingInfo& sortingInfo,
                           notifykit2::IProgress* progress) override;
    void clear() override;
    void onRowsChanged() override;
    int getRowCount() const override { return rowCount(); }
    int getColumnCount() const override { return static_cast<int>(m_columns.size()); }
    GridType getGridType() const { return m_gridType; }
    StackMode getStackMode() const { return m_stackMode; }
    const bk2::sptr_t<dataface1::ITableTree>& getTree() const { return m_tree; }
    void setHighlighter(std::shared_ptr<IHighlighter> highlighter) override;

    // --- Window (gridmodel_view.cpp) ---

    GridViewParams getViewParams() const override { return m_viewParams; }
    /// Stores all of `params`; false and no change unless startRow is at least 0 and rowCount above 0.
    bool validateAndSetViewParams(const GridViewParams& params);
    /// Moves the window so that it ends with the rows at the latest; never before row 0. Gives the
    /// parameters.
    GridViewParams fitViewParams();
    /// Puts the current row into the middle of the window, if there is one.
    void centerViewByCurrentRow();
    void clearFocusRowReferences() { m_viewParams.focusRowReferences.clear(); }

    // --- Rows (gridmodel_rows.cpp) ---

    /// Empty outside the visible rows.
    RowPtr getRowByIndex(int row) const;
    std::uint64_t getRowId(int row) const override;
    static std::uint64_t getRowIdByPtr(const dataface1::ITableRow* row);
    /// The visible row of that id: the hint first, then the window, or all rows with `searchAll`. -1 if there
    /// is none.
    int getRowIndexById(int row, std::uint64_t rowId, bool searchAll) const;
    /// The row that a request means: the index counts if the id is 0 or none, else the row of that id by hint
    /// or in the window, -1 if it is not there.
    int getAddressedRow(int row, std::uint64_t rowId) const;

    // --- Columns (gridmodel_columns.cpp) ---

    ColumnPtr getColumnByIndex(int index) const;
    bk2::sptr_t<dataface1::IColumnInfo> getColumnInfoByIndex(int index) const override;
    /// The first column with the grouping flag, or null.
    bk2::sptr_t<dataface1::IColumnInfo> getGroupingColumn() const;
    const std::vector<ColumnPtr>& getColumns() const { return m_columns; }
    const ColumnHierarchy& getColumnHierarchy() const { return m_columnHierarchy; }
    std::vector<ColumnPtr> getVisibleColumns() const;
    /// What a pane did to the columns: collapsed, hidden, formats. Drops search hits.
    void updateColumnState(const ColumnHierarchy& hierarchy);

    // --- Expansion (gridmodel_expansion.cpp) ---

    void expandRow(int row, bool expand, notifykit2::IProgress* progress) override;
    ExpandedRows onExpandRow(int row, bool expand, notifykit2::IProgress* progress) override;
    /// Opens all rows above that level; 0 opens all. One pass over the rows.
    void expandRowsRecursively(notifykit2::IProgress* progress, int levels);
    void expandSelectedRows(notifykit2::IProgress* progress);
    void collapseAllRows(notifykit2::IProgress* progress);
    /// True while a task is opening the row.
    bool isExpanding(std::uint64_t rowId) const { return m_expandingRows.count(rowId) != 0; }

    // --- State across trees (gridmodel_state.cpp) ---

    void saveGridRowState(GridRowState& state, notifykit2::IProgress* progress) const;
    void restoreGridRowState(GridRowState state, notifykit2::IProgress* progress);

    // --- Sorting (gridmodel_sorting.cpp) ---

    bool isSortingEnabled() const override { return m_sorting.getColumnIndex() >= 0; }
    bk2::error_code_t sort(const SortingCondition& condition) override;
    const SortingCondition& getSorting() const { return m_sorting; }
    bool compareItems(const RowPtr& a, const RowPtr& b) const override;
    /// The order of two rows by one column; see docs/decisions for how groups of mixed kinds are ordered.
    bool compare(const RowPtr& a, const RowPtr& b, const GridColumn& column, bool descending) const;
    /// Which contents of the cells order the rows. False if there is no row or no column. Asked once for all
    /// rows of one query, for the grouping column, or of one group of siblings; from several threads.
    virtual bool getSortContentTypeAndOrder(const dataface1::ITableRow* row,
                                            const dataface1::IColumnInfo* columnInfo, int& contents,
                                            bool& descending) const;
    SortingCondition createSortingFromColumnName(const std::string& name) const;
    void setSortingCondition(const SortingInfo& sortingInfo);
    bk2::error_code_t setSortingConditionByPersistedState(const SortingInfo& sortingInfo);

    // --- Selection and positioning (gridmodel_selection.cpp, gridmodel_positioning.cpp) ---

    bk2::error_code_t processRowSelection(int row, std::uint64_t rowId, int type) override;
    void clearSelection();
    bool isSelected(int row) const override;
    int getCurrentRow() const override;
    std::size_t getSelectedCount() const;
    SelectionState popSelectionState();
    bk2::error_code_t getFilterBySelectedRows(bk2::sptr_t<dataface1::IQueryFilter>& filter) const;
    bk2::error_code_t processPositioning();
    /// The row that the focus references lead to, opening rows on the way; 0 if they lead nowhere, -1 without
    /// rows. A reference names a visible row by what it shows or by its object; a folded row is found by the
    /// names of its frames too, one after the other.
    bk2::error_code_t findRow(int& rowToSelect);

    // --- Chains (gridmodel_chains.cpp, chainrow.h) ---

    void toggleStackMode(const StackMode& mode, notifykit2::IProgress* progress) override;
    /// Replaces `row` by a folded one where chains are shown and one can be built.
    void decorateRow(RowPtr& row) const;

    // --- Footer, search, export, dive (files of these names) ---

    bk2::error_code_t createFooterRow();
    void saveFooterRowToVBag(bk2::variant_bag_t& bag) const;
    bk2::error_code_t search(const std::string& key, bk2::variant_bag_t& bag,
                             notifykit2::IProgress* progress);
    void saveSearchResultToVBag(bk2::variant_bag_t& bag) const;
    bk2::error_code_t exportToCsv(std::shared_ptr<CSVWriter> writer,
                                  notifykit2::IProgress* progress) const override;
    bk2::error_code_t copySelectedRowsToString(std::string& text) const override;
    void getCellTextForExport(int row, const ColumnPtr& column, std::string& text) const;
    bk2::error_code_t createDiveFiltersFromBag(const bk2::variant_bag_t& request,
                                               bk2::sptr_t<dataface1::IQueryFilter>& targetFilter,
                                               bk2::sptr_t<dataface1::IQueryFilter>& dataFilter,
                                               std::string& groupingId);

    // --- Cells and rows as bags (gridmodel_cells.cpp, gridmodel_serialisation.cpp) ---

    void saveRegularRowToVBag(int row, bk2::variant_bag_t& bag) const override;
    void saveRowDataToVBag(const dataface1::ITableRow& row, int level, bk2::variant_bag_t& bag) const;
    /// False if there is no such column.
    bool saveColumnDataToVBag(int index, bk2::variant_bag_t& bag) const;
    bk2::variant_t getCellContent(const dataface1::ITableRow* row, int level,
                                  const dataface1::IColumnInfo* columnInfo) const;
    bk2::variant_t getCellContentByIndex(int row, int column) const override;
    /// The value that sorting compares.
    bk2::variant_t getRawValue(const dataface1::ITableRow* row, const dataface1::IColumnInfo* columnInfo,
                               const std::string& format) const;
    bk2::variant_t getIssueMask(const dataface1::ITableRow& row,
                                const dataface1::IColumnInfo& columnInfo) const;
    bool isReliable(const dataface1::ITableRow& row, const dataface1::IColumnInfo& columnInfo) const;
    bool isRowDivable(int row) const;
    static std::string getQueryTableName(const bk2::sptr_t<dataface1::IQuery>& query);
    /// Further keys of a row's or a column's bag, for derived models.
    virtual void addExtraRowAttributes(const dataface1::ITableRow& row, bk2::variant_bag_t& bag) const;
    virtual void addExtraColumnAttributes(const GridColumn& column, bk2::variant_bag_t& bag) const;

protected:
    ~GridModel() override;

    int addNewItems(const RowPtr* parentData, std::vector<RowPtr>& children,
                    notifykit2::IProgress* progress) override;
    void sortSiblings(Siblings& siblings) const override;

private:
    using RowIds = boost::unordered_flat_set<std::uint64_t>;
    class GridStateGuard;
    class ExpandingGuard;
    class StateRestoration;
    class SortContents;

    friend class Lock;
    friend class DBLock;

    /// Makes the provider compute the rows of a tree while others are served from the old ones.
    bk2::error_code_t readNewRows(const dataface1::ITableTree& tree, notifykit2::IProgress* progress) const;
    /// These three give false if the top rows could not be read.
    bool replaceTree(const bk2::sptr_t<dataface1::ITableTree>& tree,
                     std::shared_ptr<dataface1::ITableTreeHelper> helper, notifykit2::IProgress* progress);
    bool replaceGrouping(const bk2::sptr_t<dataface1::ITableTree>& tree,
                         std::shared_ptr<dataface1::ITableTreeHelper> helper, const SortingInfo& sortingInfo,
                         notifykit2::IProgress* progress);
    bool loadNewRows(notifykit2::IProgress* progress);
    void cleanup(const bk2::sptr_t<dataface1::ITableTree>& tree,
                 std::shared_ptr<dataface1::ITableTreeHelper> helper, ColumnHierarchy& hierarchy,
                 notifykit2::IProgress* progress);

    struct ProvidedRow;
    template <class Visit>
    void visitProvidedRows(const dataface1::IColumnInfo& groupingColumn, notifykit2::IProgress* progress,
                           int rowsWithPath, const Visit& visit) const;
    void saveVisibleRows(const dataface1::IColumnInfo& groupingColumn, GridRowState& state,
                         notifykit2::IProgress* progress) const;
    int nearestRowAbove(const GridRowState& state, const dataface1::IColumnInfo& groupingColumn) const;
    void addUnrestored(GridRowState& state) const;
    // What a person does after a restoration that was cancelled counts more than what was to be restored.
    void forgetUnrestored(const Item& closed);
    void forgetUnrestoredRows();
    void forgetUnrestoredFocus();
    bool preloadChildRows(const RowPtr& row, notifykit2::IProgress* progress) const;
    /// True if reading the row's children takes no time, so that no lock needs to be given up for it.
    bool areChildrenAtHand(const dataface1::ITableRow& row) const;
    bool readTopChains(notifykit2::IProgress* progress) const;
    static bool readChildRows(const RowPtr& row, bool chains, notifykit2::IProgress* progress);
    /// Has the provider read what folding will look at below these rows, later and with the model mutex held.
    static void readChains(bk2::iterator_ptr_t<RowPtr> rows, notifykit2::IProgress* progress);
    /// The row object of a visible row, without another reference to it.
    const RowPtr& shownRow(int row) const { return getRowID(row)->data; }
    ExpandedRows collapse(int row, const RowPtr& rowPtr, notifykit2::IProgress* progress);
    // Opening many rows first loads them all, with the lock given up now and then, and opens them only after
    // that: whoever gets the lock meanwhile finds rows and items in agreement. False if the work ended early;
    // the items are gone if `m_generation` has changed.
    bool loadLevels(int levels, std::vector<Item*>& loaded, notifykit2::IProgress* progress);
    bool loadItem(Item& item, std::vector<Item*>& loaded, notifykit2::IProgress* progress);
    bool loadSelected(const std::vector<Item*>& selected, std::vector<Item*>& loaded,
                      notifykit2::IProgress* progress);
    void showOpened(const std::vector<Item*>& opened, bool finished);
    /// Before all rows are closed.
    void moveSelectionToTopRows();
    void moveSelectionFromChildrenToCollapsedParent(const SelectedItems<RowPtr>::Set& hidden,
                                                    const RowPtr& parent);
    bk2::error_code_t getSelectedProviderRows(std::vector<RowPtr>& rows) const;
    int dataFilterMode() const;
    int findPath(bool unfolded);
    std::string shownLine(int row, const std::vector<ColumnPtr>& columns) const;
    static bk2::variant_t getCellContent(const dataface1::ITableRow& row, int level,
                                         const GridColumn& column);
    void saveCellToVBag(const dataface1::ITableRow& row, int level, const GridColumn& column,
                        PercentBaseRow& baseRow, bk2::variant_bag_t& cell) const;
    static void fetchAhead(const Siblings& siblings, std::size_t position, std::size_t end);
    void readSortValues(const Siblings& siblings, const GridColumn& column, bool& descending,
                        bk2::array_t<bk2::variant_t>& values) const;
    static bk2::variant_t readSortValue(const dataface1::ITableRow& row, const GridColumn& column,
                                        int contents, const RawValues& raw);
    bk2::variant_t sortValue(const dataface1::ITableRow& row, const GridColumn& column,
                             bool& descending) const;
    bool rowKey(const dataface1::ITableRow& row, const dataface1::IColumnInfo& groupingColumn,
                bk2::variant_t& key) const;

    bk2::mt_ref_count_impl_t m_references;
    mutable GridMutexes m_mutexes;
    bk2::sptr_t<dataface1::ITableTree> m_tree;
    std::vector<ColumnPtr> m_columns; ///< all columns in preorder; a column's index names it everywhere
    std::shared_ptr<IHighlighter> m_highlighter;
    const GridType m_gridType;
    GridViewParams m_viewParams;
    ColumnHierarchy m_columnHierarchy;
    RowPtr m_footerRow;
    RowIds m_expandingRows; ///< ids of rows that are being opened: they show "w"
    StackMode m_stackMode = TreeMode;
    bk2::sptr_t<dataface1::IInputData> m_inputData;
    bk2::sptr_t<dataface1::IInputData> m_extraInputData;
    // Counts the trees and modes that the items were made for: whoever gave the lock up sees that its items
    // are gone.
    std::uint64_t m_generation = 0;
    std::string m_versionText;
    std::string m_extraVersionText; ///< not empty: two results are open and rows are known by value
    std::shared_ptr<dataface1::ITableTreeHelper> m_tableTreeHelper;
    SortingCondition m_sorting;
    const std::unique_ptr<SiblingOrder> m_siblingOrder; ///< memory of sorting; empty between two sorts
    mutable std::shared_ptr<SortContents>
        m_sortContents; ///< what the groups of siblings share; goes with the columns
    const portkit2::catalog_t* m_catalog;
    mutable std::map<const dataface1::IQuery*, bool> m_divable; ///< by query of the tree; emptied with it
    // What the last restoration was to bring back, if it was cancelled or failed: the next one tries again.
    std::shared_ptr<GridRowState> m_unrestored;
    GridSearchHelper m_searchHelper;
    std::shared_ptr<SelectedItems<RowPtr>> m_selectedRows;
};

/// The real row behind a row: the first of a chain, or the row itself.
PANEDECK_API bk2::error_code_t getChainedTableRow(const bk2::sptr_t<dataface1::ITableRow>& row,
                                                  bk2::sptr_t<dataface1::ITableRow>& result);

} // namespace panedeck
