#include "grid/grid_request_names.h"

#include "gridmodel/selecteditems.h"
#include "slicerkit/table_tree_query.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace panedeck {

namespace {

template <class Value>
using Entry = std::pair<std::string_view, Value>;

constexpr std::array<Entry<RequestType>, 11> request_types = {{
    {"expand", ExpandRequest},
    {"collapse", CollapseRequest},
    {"scroll", ScrollRequest},
    {"sort", SortRequest},
    {"refresh", RefreshRequest},
    {"changeStackMode", ChangeStackModeRequest},
    {"select", SelectRequest},
    {"collapseAllRows", CollapseAllRowsRequest},
    {"expandSelectedRows", ExpandSelectedRowsRequest},
    {"expandRowsRecursively", ExpandRowsRecursivelyRequest},
    {"position", PositionRequest},
}};

constexpr std::array<std::string_view, 9> view_requests = {
    "refresh",         "expand",
    "collapse",        "sort",
    "changeStackMode", "expandSelectedRows",
    "collapseAllRows", "expandRowsRecursively",
    "scroll",
};

constexpr std::array<Entry<int>, 6> selection_types = {{
    {"none", SelectNone},
    {"setSingle", SelectSetSingle},
    {"addRange", SelectAddRange},
    {"all", SelectAll},
    {"toggle", SelectToggle},
    {"clear", SelectClear},
}};

template <class Table>
auto find(const Table& table, std::string_view name) {
    return std::find_if(table.begin(), table.end(),
                        [name](const auto& entry) { return entry.first == name; });
}

} // namespace

bool isViewRequest(const std::string& operation) {
    return std::find(view_requests.begin(), view_requests.end(), operation) != view_requests.end();
}

RequestType requestTypeOf(const std::string& operation) {
    const auto found = find(request_types, operation);
    return found == request_types.end() ? ScrollRequest : found->second;
}

StackMode stackModeOf(const std::string& name) {
    if (name == "tree") return TreeMode;
    return name == "chain" ? ChainMode : KeepStackMode;
}

bool findSelectionType(const std::string& name, int& type) {
    const auto found = find(selection_types, name);
    if (found == selection_types.end()) return false;
    type = found->second;
    return true;
}

GridType gridTypeOf(int queryType) {
    switch (queryType) {
    case slicerkit1::query_auto:
        return GridAutomatic;
    case slicerkit1::query_top_down:
        return GridTopDown;
    case slicerkit1::query_flat_profile:
        return GridFlatProfile;
    case slicerkit1::query_selection_parent_tree:
        return GridSelectionParentTree;
    case slicerkit1::query_selection_child_tree:
        return GridSelectionChildTree;
    default:
        return GridBottomUp;
    }
}

} // namespace panedeck
