// What a pane is told of a column.

#include "basekit/assertion.h"
#include "gridmodel/child_columns.h"
#include "gridmodel/gridcolumn.h"

namespace panedeck {

using bk2::variant_bag_t;
using bk2::variant_t;
using dataface1::IDerivedQuery;
using dataface1::IInfoQuery;
using dataface1::IQuery;

namespace {

void putText(variant_bag_t& bag, const char* name, const std::string& text) {
    if (!text.empty()) bag.put<variant_t>(name, variant_t(text));
}

variant_bag_t& addArray(variant_bag_t& bag, const char* name, const char* element) {
    variant_bag_t& array = bag.add_variant_bag(name);
    array.put<variant_t>("arrayOf", variant_t(element));
    return array;
}

void saveLevels(const GridColumn& column, variant_bag_t& bag) {
    variant_bag_t& levels = addArray(bag, "levels", "level");
    int id = 0;
    for (auto level = column.getColumnInfo()->getQuery(); level; level = level->getLevelBelow(), ++id) {
        variant_bag_t& entry = levels.add_variant_bag("level");
        entry.put<variant_t>("id", variant_t(id));
        const auto query = dataface1::throughVector(level);
        if (const auto info = IInfoQuery::cast(query))
            entry.put<variant_t>("aliasForUnknown", variant_t(info->getAliasForUnknown()));
        entry.put<variant_t>("format", variant_t(column.getFormat(id)));
        if (query) entry.put<variant_t>("caption", variant_t(query->getDisplayName()));
    }
}

void saveIssues(const IQuery& query, variant_bag_t& bag) {
    const auto issues = query.getIssues();
    if (issues.empty()) return;
    variant_bag_t& array = addArray(bag, "issues", "issue");
    for (const auto& issue : issues) {
        variant_bag_t& entry = array.add_variant_bag("issue");
        entry.put<variant_t>("issueText", variant_t(issue.text));
        putText(entry, "thresholdText", issue.threshold_text);
    }
}

/// Comes from the first derived query among the child columns.
std::string expansionText(const dataface1::IColumnInfo& columnInfo) {
    for (const auto& child : childColumns(columnInfo))
        if (const auto derived = IDerivedQuery::cast(dataface1::throughVector(child->getQuery())))
            return derived->getExpansionText();
    return {};
}

void saveAvailableFormats(const GridColumn& column, variant_bag_t& bag) {
    variant_bag_t& formats = addArray(bag, "availableFormats", "availableFormat");
    for (const auto& [id, format] : column.getAvailableFormats())
        format->saveToVBag(formats.add_variant_bag("availableFormat"));
}

/// Panes write the texts of cells themselves: for a time they have to know how many seconds one unit is.
void saveTimeUnit(const IQuery& query, variant_bag_t& bag) {
    if (query.getValueType() == dataface1::query_value_type_t::time)
        bag.put<variant_t>("timeUnit", query.getAttribute("timeUnit", variant_t(1.0)));
}

void saveDataColumn(const GridColumn& column, variant_bag_t& bag) {
    const std::uint32_t flags = column.getColumnInfo()->getFlags();
    bag.put<variant_t>("isData", variant_t(true));
    if (flags & dataface1::column_self) bag.put<variant_t>("isSelf", variant_t(true));
    if (flags & dataface1::column_total) bag.put<variant_t>("isTotal", variant_t(true));
    if (column.getQuery()) {
        putText(bag, "confidenceText", column.getQuery()->getConfidenceText());
        saveIssues(*column.getQuery(), bag);
        saveTimeUnit(*column.getQuery(), bag);
    }
    putText(bag, "expansionText", expansionText(*column.getColumnInfo()));
    if (column.isCollapsible()) saveAvailableFormats(column, bag);
    if (column.getUnitOfMeasure() != unit_of_measure_t::none)
        bag.put<variant_t>("maxPerUnitOfMeasure", column.getMaxPerUnitOfMeasure());
    bag.put<variant_t>("barMax", column.getBarMaxValue());
    column.getBar()->saveToVBag(bag);
}

void saveCommonKeys(const GridColumn& column, variant_bag_t& bag) {
    bag.put<variant_t>("caption", variant_t(column.getColumnCaption()));
    if (column.getQuery()) putText(bag, "description", column.getQuery()->getDescription());
    const bool isData = (column.getColumnInfo()->getFlags() & dataface1::column_data) != 0;
    bag.put<variant_t>("descendingByDefault", variant_t(isData));
    bag.put<variant_t>("syncChildColumnsFormat", variant_t(column.isExpandedByInfoQuery()));
    const QueryInfo& info = column.getQueryInfo();
    if (!info.name.empty() && info.flag >= 0) {
        bag.put<variant_t>("query", variant_t(info.name));
        bag.put<variant_t>("queryFlag", variant_t(info.flag));
    }
    putText(bag, "helpKeyword", column.getHelpKeyword());
}

} // namespace

void GridColumn::saveToVBag(variant_bag_t& bag) const {
    PANEDECK_EXPECT(!m_columnInfo.is_null(), "column");
    if (!m_columnInfo) return;
    saveCommonKeys(*this, bag);
    const std::uint32_t flags = m_columnInfo->getFlags();
    if (flags & dataface1::column_grouping) {
        bag.put<variant_t>("isGrouping", variant_t(true));
        saveLevels(*this, bag);
        return;
    }
    bag.put<variant_t>("aliasForUnknown", variant_t(getAliasForUnknown()));
    bag.put<variant_t>("isCollapsible", variant_t(m_isCollapsible));
    bag.put<variant_t>("format", variant_t(getFormat()));
    if (flags & dataface1::column_data)
        saveDataColumn(*this, bag);
    else if (flags & dataface1::column_info)
        bag.put<variant_t>("isInfo", variant_t(true));
}

} // namespace panedeck
