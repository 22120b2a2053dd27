#pragma once

namespace panedeck::filter_names {

// The filter names that the system itself gives a meaning. Any other text may be a filter's name, too.

/// The filter of the filter bar, valid for all panes.
inline constexpr char global[] = "global";
/// The part of the global filter that came from anywhere but the filter bar.
inline constexpr char global_not_from_filterbar[] = "global-not-from-filterbar";
/// The copy of one pane's selection that the other panes follow. "selection-" and a pane's id name that
/// pane's own selection, see `IFilterMgr::getSelectionFilterName`.
inline constexpr char selection[] = "selection";
/// What the name of every `TempFilter` begins with.
inline constexpr char temporary[] = "tempFilter";

// Reserved for the panes.
inline constexpr char selection_slave[] = "selectionSlave";
inline constexpr char deep_view_selection[] = "deep_view_selection_filter";
inline constexpr char timeline_doi[] = "timeline_doi";
inline constexpr char pause[] = "pause";

} // namespace panedeck::filter_names
