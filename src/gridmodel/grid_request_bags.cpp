#include "gridmodel/grid_bags.h"
#include "gridmodel/request_values.h"

#include <string_view>
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

void readParameter(std::string_view name, const bk2::variant_bag_t& bag, GridViewParams& params) {
    const auto* value = bag.get<bk2::variant_t>("");
    if (name == "gridid") params.gridId = textOr(value, params.gridId);
    if (name == "rowId") params.rowId = rowIdOr(value, params.rowId);
    if (name == "row") params.startRow = integerOr(value, params.startRow);
    if (name == "count") params.rowCount = integerOr(value, params.rowCount);
    if (name == "grouping") params.grouping = textOr(value, params.grouping);
    if (name == "focusColumnName") params.focusColumnName = textOr(value, params.focusColumnName);
    if (name == "expandLevels") params.expandLevels = integerOr(value, params.expandLevels);
    if (name == "focusRowReferences") params.focusRowReferences = readFocusRowReferences(bag);
}

} // namespace

GridViewParams createGridViewParamsFromSectionBag(const bk2::variant_bag_t& bag) {
    GridViewParams params;
    // Of a parameter that comes twice the last one counts.
    for (auto child = bag.begin<bk2::variant_bag_t>(); !child.at_end(); child.next())
        readParameter(child.get_name(), child.get_value(), params);
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
