#include "gridmodel/column_set.h"

#include "basekit/assertion.h"
#include "gridmodel/child_columns.h"
#include "gridmodel/percent_base.h"
#include "gridmodel/query_attributes.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <utility>

namespace panedeck {

using bk2::sptr_t;
using bk2::variant_t;
using dataface1::IColumnInfo;

namespace {

using column_iterator_t = bk2::iterator_ptr_t<sptr_t<IColumnInfo>>;

/// The columns of one level that are still to be added, and where their nodes go.
struct open_level_t {
    column_iterator_t columns;
    std::vector<ColumnHierarchy> nodes; ///< of the columns added so far
};

bool isLeftOut(const IColumnInfo& columnInfo) {
    return (columnInfo.getFlags() & dataface1::column_total) &&
           hasAttribute(dataface1::throughVector(columnInfo.getQuery()), "hideTotal", false);
}

/// The greatest of numbers that count in different parts of one unit, by these parts, as a number that counts
/// in one of them.
variant_t greatestInScale(const std::map<double, variant_t>& maxima, double scale) {
    variant_t greatest;
    for (const auto& [otherScale, maximum] : maxima) {
        if (maximum.is_null()) continue;
        const variant_t number =
            otherScale == scale ? maximum : variant_t(maximum.get<double>() * (otherScale / scale));
        if (greatest.is_null() || number > greatest) greatest = number;
    }
    return greatest;
}

/// Whether `hierarchy` names one of the columns.
bool namesColumn(const ColumnHierarchy& hierarchy, const GridColumns& columns) {
    return hierarchy.dataIndex >= 0 && static_cast<std::size_t>(hierarchy.dataIndex) < columns.size();
}

/// Visits the nodes below `hierarchy` in preorder; `visit` says whether to go on below a node.
template <class Visit>
void walkHierarchy(const ColumnHierarchy& hierarchy, Visit visit) {
    std::vector<const ColumnHierarchy*> pending;
    const auto open = [&pending](const ColumnHierarchy& node) {
        for (auto child = node.children.rbegin(); child != node.children.rend(); ++child)
            pending.push_back(&*child);
    };
    open(hierarchy);
    while (!pending.empty()) {
        const ColumnHierarchy& node = *pending.back();
        pending.pop_back();
        if (visit(node)) open(node);
    }
}

/// Adds columns in preorder, with a stack in place of recursion.
class ColumnSetBuilder {
public:
    ColumnSetBuilder(const GridColumnContext& context, GridColumns& columns, notifykit2::IProgress* progress)
        : m_context(context), m_columns(columns), m_progress(progress) {}

    std::vector<ColumnHierarchy> build(column_iterator_t columns);

private:
    void add(const sptr_t<IColumnInfo>& columnInfo);
    void closeLevel();

    const GridColumnContext& m_context;
    GridColumns& m_columns;
    notifykit2::IProgress* m_progress;
    std::vector<open_level_t> m_open;
};

std::vector<ColumnHierarchy> ColumnSetBuilder::build(column_iterator_t columns) {
    m_open.push_back({std::move(columns), {}});
    while (true) {
        const auto& level = m_open.back().columns;
        const bool atEnd = !level || level->at_end() || notifykit2::is_canceled(m_progress);
        if (atEnd && m_open.size() == 1) break;
        if (atEnd) {
            closeLevel();
            continue;
        }
        const auto columnInfo = level->current();
        level->next();
        if (!isLeftOut(*columnInfo)) add(columnInfo);
    }
    return std::move(m_open.back().nodes);
}

void ColumnSetBuilder::add(const sptr_t<IColumnInfo>& columnInfo) {
    ColumnHierarchy node;
    node.dataIndex = static_cast<int>(m_columns.size());
    node.isCollapsed = !hasAttribute(dataface1::throughVector(columnInfo->getQuery()), "expand", false);
    m_columns.push_back(std::make_shared<GridColumn>(node.dataIndex, columnInfo, m_context.helper,
                                                     m_context.versionText, m_context.extraVersionText,
                                                     m_context.catalog));
    m_open.back().nodes.push_back(std::move(node));
    auto children = childColumns(*columnInfo, m_progress);
    if (!children.empty()) m_open.push_back({bk2::make_vector_iterator(std::move(children)), {}});
}

void ColumnSetBuilder::closeLevel() {
    std::vector<ColumnHierarchy> nodes = std::move(m_open.back().nodes);
    m_open.pop_back();
    m_open.back().nodes.back().children = std::move(nodes);
}

} // namespace

void buildColumns(column_iterator_t columnIterator, const GridColumnContext& context, GridColumns& columns,
                  ColumnHierarchy& hierarchy, notifykit2::IProgress* progress) {
    auto nodes = ColumnSetBuilder(context, columns, progress).build(std::move(columnIterator));
    std::move(nodes.begin(), nodes.end(), std::back_inserter(hierarchy.children));
    const bool hasBaseRows = std::any_of(columns.begin(), columns.end(), [](const auto& column) {
        return (column->getColumnInfo()->getFlags() & dataface1::column_grouping) &&
               hasUnitDistinctLevel(column->getColumnInfo()->getQuery());
    });
    for (const auto& column : columns)
        column->setHasBaseRows(hasBaseRows);
}

void getVisibleColumns(const GridColumns& columns, const ColumnHierarchy& hierarchy, GridColumns& result) {
    walkHierarchy(hierarchy, [&](const ColumnHierarchy& node) {
        if (node.isHidden) return false;
        if (!node.children.empty() && !node.isCollapsed) return true;
        if (namesColumn(node, columns)) result.push_back(columns[static_cast<std::size_t>(node.dataIndex)]);
        return false;
    });
}

void updateColumnFormat(const GridColumns& columns, const ColumnHierarchy& hierarchy) {
    walkHierarchy(hierarchy, [&](const ColumnHierarchy& node) {
        if (node.format.empty() || !namesColumn(node, columns)) return true;
        GridColumn& column = *columns[static_cast<std::size_t>(node.dataIndex)];
        if (column.getColumnInfo()->getFlags() & dataface1::column_data) column.setCurrentFormat(node.format);
        return true;
    });
}

variant_t getMaxPerUnitOfMeasure(const GridColumns& columns) {
    variant_t greatest;
    for (const auto& column : columns) {
        PANEDECK_EXPECT(column, "column");
        if (!column) continue;
        PANEDECK_EXPECT(!column->getColumnInfo().is_null(), "!columnInfo.is_null()");
        const variant_t maximum = column->getMaxValue();
        if (!maximum.is_null() && (greatest.is_null() || maximum > greatest)) greatest = maximum;
    }
    return greatest;
}

void propagateColumnMaxValues(const GridColumns& columns) {
    std::map<unit_of_measure_t, std::map<double, GridColumns>> columnsByUnit;
    for (const auto& column : columns)
        if (column->getUnitOfMeasure() != unit_of_measure_t::none)
            columnsByUnit[column->getUnitOfMeasure()][column->getUnitScale()].push_back(column);
    for (const auto& [unit, columnsByScale] : columnsByUnit) {
        std::map<double, variant_t> maxima;
        for (const auto& [scale, group] : columnsByScale)
            maxima[scale] = getMaxPerUnitOfMeasure(group);
        for (const auto& [scale, group] : columnsByScale) {
            const variant_t maximum = greatestInScale(maxima, scale);
            for (const auto& column : group)
                column->setMaxPerUnitOfMeasure(maximum);
        }
    }
}

} // namespace panedeck
