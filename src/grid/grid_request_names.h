#pragma once

#include "gridmodel/grid_view_params.h"

#include <string>

namespace panedeck {

/// True for the operations that act on a grid's view.
bool isViewRequest(const std::string& operation);

/// What an operation asks of the answer; every unknown one counts as a scroll.
RequestType requestTypeOf(const std::string& operation);

/// The mode that a refresh names; any other text keeps the present one.
StackMode stackModeOf(const std::string& name);

/// False for a name that is no selection type.
bool findSelectionType(const std::string& name, int& type);

/// The kind of grid that shows a query of that type; every other number is a bottom-up grid.
GridType gridTypeOf(int queryType);

} // namespace panedeck
