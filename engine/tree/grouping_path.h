#pragma once

#include "store/dimension.h"

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace panedeck::engine {

/// One level of a grouping: a dimension, or a recursion along the stacks.
enum class Segment : std::uint8_t { process, thread, module, source_file, function, callees, callers };

constexpr bool isRecursive(Segment segment) {
    return segment == Segment::callees || segment == Segment::callers;
}

/// The dimension whose values the level's rows have; functions for a recursion.
constexpr Dimension dimensionOf(Segment segment) {
    return isRecursive(segment) ? Dimension::function : static_cast<Dimension>(segment);
}

/// The levels of a tree from the top down, at least one. Only the last one recurs, no level comes twice.
using GroupingPath = std::vector<Segment>;

/// The name of a level in paths, such as "CallStack".
std::string_view segmentName(Segment segment);
std::optional<Segment> findSegment(std::string_view name);

/// Reads "/Thread/Function/ParentCallStack". Nothing if a segment is unknown or comes twice, or if one stands
/// behind a recursive one.
std::optional<GroupingPath> parseGroupingPath(std::string_view text);
std::string groupingPathText(const GroupingPath& path, std::size_t first_level = 0);

} // namespace panedeck::engine
