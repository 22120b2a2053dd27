#include "gridmodel/grid_bags.h"
#include "gridmodel/request_values.h"

#include <utility>
#include <vector>

namespace panedeck {

namespace {

std::vector<FocusRowReference> readFocusRowReferences(const bk2::variant_bag_t& bag) {
    std::vector<FocusRowReference> references;
    for (auto entry = bag.begin_by_name<bk2::variant_bag_t>("focusRowReference"); !entry.at_end();
         entry.next()) {
        const bk2::variant_t* type = findValue(entry.get_value(), "type");
        const bk2::variant_t* value = findValue(entry.get_value(), "value");
        if (type && type->is_narrow_text() && value)
            references.push_back({std::string(type->text()), *value});
    }
    return references;
}

void readNode(const bk2::variant_bag_t& bag, ColumnHierarchy& node) {
    node.dataIndex = integerOr(findValue(bag, "dataIndex"), node.dataIndex);
    node.isCollapsed = booleanOr(findValue(bag, "isCollapsed"), node.isCollapsed);
    node.isHidden = booleanOr(findValue(bag, "isHidden"), node.isHidden);
    node.format = textOr(findValue(bag, "format"), node.format);
}

} // namespace

GridViewParams createGridViewParamsFromSectionBag(const bk2::variant_bag_t& bag) {
    GridViewParams params;
    params.gridId = readText(bag, "gridid", params.gridId);
    params.rowId = readRowId(bag, params.rowId);
    params.startRow = readInteger(bag, "row", params.startRow);
    params.rowCount = readInteger(bag, "count", params.rowCount);
    params.grouping = readText(bag, "grouping", params.grouping);
    params.focusColumnName = readText(bag, "focusColumnName", params.focusColumnName);
    params.expandLevels = readInteger(bag, "expandLevels", params.expandLevels);
    if (const auto* references = bag.get<bk2::variant_bag_t>("focusRowReferences"))
        params.focusRowReferences = readFocusRowReferences(*references);
    return params;
}

SortingCondition createSortingConditionFromBag(const bk2::variant_bag_t& bag) {
    const SortingCondition unset;
    const auto* sorting = bag.get<bk2::variant_bag_t>("sorting");
    if (!sorting) return unset;
    const bk2::variant_t* column = findValue(*sorting, "column");
    const bool isIndex = column && column->tag() < bk2::vt_s64;
    return {isIndex ? integerOr(column, -1) : -1,
            booleanOr(findValue(*sorting, "descending"), unset.isDescending())};
}

SortingInfo createPersistedSortingFromBag(const bk2::variant_bag_t& bag) {
    SortingInfo info;
    const auto* sorting = bag.get<bk2::variant_bag_t>("persistedSorting");
    if (!sorting) return info;
    info.queryName = textOr(findValue(*sorting, "query"), "");
    info.queryFlag = integerOr(findValue(*sorting, "queryFlag"), info.queryFlag);
    info.descending = booleanOr(findValue(*sorting, "descending"), info.descending);
    return info;
}

void createColumnHierarchyFromVBag(ColumnHierarchy& hierarchy, const bk2::variant_bag_t& bag) {
    const auto* root = bag.get<bk2::variant_bag_t>("columnHierarchy");
    if (!root) return;
    std::vector<std::pair<const bk2::variant_bag_t*, ColumnHierarchy*>> open{{root, &hierarchy}};
    while (!open.empty()) {
        const auto [nodeBag, node] = open.back();
        open.pop_back();
        readNode(*nodeBag, *node);
        const auto* children = nodeBag->get<bk2::variant_bag_t>("column");
        if (!children) continue;
        // All at once, so that none moves while a deeper one is being filled.
        node->children.resize(children->count<bk2::variant_bag_t>(nullptr));
        std::size_t index = 0;
        for (auto child = children->begin<bk2::variant_bag_t>(); !child.at_end(); child.next())
            open.emplace_back(&child.get_value(), &node->children[index++]);
    }
}

} // namespace panedeck
