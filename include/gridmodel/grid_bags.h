#pragma once

#include "basekit/api.h"
#include "basekit/sptr.h"
#include "basekit/variant_bag.h"
#include "gridmodel/column_hierarchy.h"
#include "gridmodel/grid_view_params.h"
#include "gridmodel/gridmodel.h"
#include "gridmodel/sorting.h"

namespace panedeck {

// What panes send and are sent, as bags. The keys are told in docs/protocol.md.

/// Writes the window of a grid, and for a refresh its columns, into `answer`. Takes the grid's lock. False
/// for a null grid and for one without columns. The grid forgets its focus references once the pane has been
/// told to scroll to them.
PANEDECK_API bool saveGridModelToVBag(RequestType requestType, const bk2::sptr_t<GridModel>& grid,
                                      bk2::variant_bag_t& answer);

/// The window and focus that a request names; what it leaves out keeps its default.
PANEDECK_API GridViewParams createGridViewParamsFromSectionBag(const bk2::variant_bag_t& bag);

/// Column -1 unless the request's `sorting` names one by number.
PANEDECK_API SortingCondition createSortingConditionFromBag(const bk2::variant_bag_t& bag);

/// Empty unless the request has `persistedSorting`.
PANEDECK_API SortingInfo createPersistedSortingFromBag(const bk2::variant_bag_t& bag);

/// Reads the request's `columnHierarchy` into `hierarchy`; nothing changes if it has none.
PANEDECK_API void createColumnHierarchyFromVBag(ColumnHierarchy& hierarchy, const bk2::variant_bag_t& bag);

} // namespace panedeck
