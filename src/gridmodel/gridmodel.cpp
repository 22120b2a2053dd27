#include "gridmodel/gridmodel.h"

#include "basekit/assertion.h"
#include "gridmodel/grid_state_guard.h"
#include "gridmodel/sibling_order.h"

namespace panedeck {

IGridModel::~IGridModel() = default;
IHighlighter::~IHighlighter() = default;

namespace {

/// Empty for a result without facts about itself, and for no result.
std::string versionTextOf(const bk2::sptr_t<dataface1::IInputData>& inputData) {
    const auto info = inputData ? inputData->getResultInfo() : nullptr;
    PANEDECK_EXPECT(info || !inputData, "Invalid result info provided");
    return info ? info->getVersionText() : std::string();
}

} // namespace

bk2::sptr_t<IGridModel> IGridModel::create(GridType gridType, const portkit2::catalog_t* catalog,
                                           bk2::sptr_t<dataface1::IInputData> inputData,
                                           bk2::sptr_t<dataface1::IInputData> extraInputData) {
    return bk2::make_sptr<GridModel>(gridType, catalog, std::move(inputData), std::move(extraInputData));
}

GridModel::GridModel(GridType gridType, const portkit2::catalog_t* catalog,
                     bk2::sptr_t<dataface1::IInputData> inputData,
                     bk2::sptr_t<dataface1::IInputData> extraInputData)
    : m_gridType(gridType), m_inputData(std::move(inputData)), m_extraInputData(std::move(extraInputData)),
      m_versionText(versionTextOf(m_inputData)), m_extraVersionText(versionTextOf(m_extraInputData)),
      m_siblingOrder(std::make_unique<SiblingOrder>()), m_catalog(catalog),
      m_selectedRows(
          std::make_shared<SelectedItems<RowPtr>>([this](int row) { return getRowByIndex(row); })) {}

GridModel::~GridModel() = default;

GridModel::Lock::Lock(bk2::sptr_t<GridModel> grid) : m_grid(std::move(grid)) {
    PANEDECK_EXPECT(!m_grid.is_null(), "!grid.is_null()");
    if (m_grid) m_lock.emplace(m_grid->m_mutexes);
}

GridModel::DBLock::DBLock(const GridModel& grid) : m_lock(grid.m_mutexes) {}

bk2::error_code_t GridModel::init(const bk2::sptr_t<dataface1::ITableTree>& tree,
                                  const GridViewParams& viewParams, StackMode stackMode,
                                  const SortingInfo& sortingInfo, notifykit2::IProgress* progress) {
    PANEDECK_REQUIRE(tree, "tt", bk2::kinds::is_not_valid_pointer, "tt");
    auto helper = dataface1::createTableTreeHelper(tree);
    PANEDECK_PASS_ON(readNewRows(*tree, progress));
    const std::uint64_t generation = m_generation + 1; // of the rows that are now made
    const bool loaded = viewParams.grouping == m_viewParams.grouping
                            ? replaceTree(tree, std::move(helper), progress)
                            : replaceGrouping(tree, std::move(helper), sortingInfo, progress);
    // While rows were opened again, another refresh may have put its own tree in: that one counts.
    if (notifykit2::is_canceled(progress) || m_tree != tree) return bk2::error_code_t::canceled();
    PANEDECK_REQUIRE(loaded, "loaded", bk2::kinds::failed_to_get_the_object, "rows");

    m_viewParams = viewParams;
    propagateColumnMaxValues(m_columns);
    if (stackMode != KeepStackMode && generation == m_generation) m_stackMode = stackMode;
    if (viewParams.expandLevels > 0) expandRowsRecursively(progress, viewParams.expandLevels);
    if (notifykit2::is_canceled(progress)) return bk2::error_code_t::canceled();
    return bk2::error_code_t::success();
}

bk2::error_code_t GridModel::readNewRows(const dataface1::ITableTree& tree,
                                         notifykit2::IProgress* progress) const {
    bool chains = false;
    // Once more if the mode was changed to chains meanwhile.
    do {
        chains = m_stackMode == ChainMode;
        DBLock reading(*this);
        const auto rows = tree.getRows(progress);
        if (rows && chains) readChains(rows->clone(), progress);
        if (notifykit2::is_canceled(progress)) return bk2::error_code_t::canceled();
        PANEDECK_REQUIRE(rows, "rows", bk2::kinds::failed_to_get_the_object, "rows");
    } while (!chains && m_stackMode == ChainMode);
    return bk2::error_code_t::success();
}

bool GridModel::replaceTree(const bk2::sptr_t<dataface1::ITableTree>& tree,
                            std::shared_ptr<dataface1::ITableTreeHelper> helper,
                            notifykit2::IProgress* progress) {
    ColumnHierarchy unused;
    bool loaded = false;
    {
        GridStateGuard keepsState(*this, progress);
        cleanup(tree, std::move(helper), unused, progress);
        // The columns are new; the formats that were chosen for their forerunners stay, and order the rows.
        updateColumnFormat(m_columns, m_columnHierarchy);
        loaded = loadNewRows(progress);
    }
    return loaded;
}

bool GridModel::loadNewRows(notifykit2::IProgress* progress) {
    // The index means none of the new rows, and must not come to mean one that is opened again.
    m_selectedRows->setCurrentRow(-1);
    return loadTopRows(progress) >= 0;
}

bool GridModel::replaceGrouping(const bk2::sptr_t<dataface1::ITableTree>& tree,
                                std::shared_ptr<dataface1::ITableTreeHelper> helper,
                                const SortingInfo& sortingInfo, notifykit2::IProgress* progress) {
    ColumnHierarchy hierarchy;
    cleanup(tree, std::move(helper), hierarchy, progress);
    m_columnHierarchy = std::move(hierarchy);
    m_unrestored.reset();
    setSortingCondition(sortingInfo);
    return loadNewRows(progress);
}

void GridModel::cleanup(const bk2::sptr_t<dataface1::ITableTree>& tree,
                        std::shared_ptr<dataface1::ITableTreeHelper> helper, ColumnHierarchy& hierarchy,
                        notifykit2::IProgress* progress) {
    // Rows of the old tree live on in what still refers to them until here.
    clear();
    m_expandingRows.clear();
    m_divable.clear();
    m_columns.clear();
    m_sortContents.reset();
    m_tree = tree;
    m_tableTreeHelper = std::move(helper);
    buildColumns(m_tree->getColumns(progress),
                 {m_tableTreeHelper, m_catalog, m_versionText, m_extraVersionText}, m_columns, hierarchy,
                 progress);
}

void GridModel::clear() {
    Model::clear();
    ++m_generation;
    clearSelection();
    m_searchHelper.reset();
}

void GridModel::onRowsChanged() {
    m_selectedRows->translateIndexes(getIndexTranslator());
}

void GridModel::setHighlighter(std::shared_ptr<IHighlighter> highlighter) {
    m_highlighter = std::move(highlighter);
}

int GridModel::addNewItems(const RowPtr* parentData, std::vector<RowPtr>& children,
                           notifykit2::IProgress* progress) {
    bk2::iterator_ptr_t<RowPtr> rows;
    if (!parentData) {
        if (m_tree) rows = m_tree->getRows(progress);
        if (m_tree && !rows && !notifykit2::is_canceled(progress)) return -1;
    } else if ((*parentData)->getChildRows(rows, progress, true) == dataface1::ITreeNode::ecsfError) {
        return notifykit2::is_canceled(progress) ? 0 : -1;
    }
    if (notifykit2::is_canceled(progress)) return 0;
    for (; rows && !rows->at_end(); rows->next()) {
        RowPtr row = rows->current();
        decorateRow(row);
        children.push_back(std::move(row));
    }
    return static_cast<int>(children.size());
}

} // namespace panedeck
