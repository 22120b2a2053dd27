#pragma once

#include "import/sample_weight.h"
#include "store/profile_data.h"

#include <cstdint>
#include <limits>
#include <optional>
#include <vector>

namespace panedeck::engine {

using V8NodeIndex = std::uint32_t;
inline constexpr V8NodeIndex no_v8_node = std::numeric_limits<V8NodeIndex>::max();

/// A node of a V8 profile's call tree, as the file has it.
struct V8Node {
    std::optional<std::int64_t> id;
    std::optional<std::int64_t> parent_id;
    V8NodeIndex parent = no_v8_node; ///< of a node written inside its parent; found out later for the others
    StringIndex name = 0;            ///< 0 is empty
    SourceFileIndex source_file = 0;
    bool is_named_root = false; ///< it is called "(root)"
    std::int64_t line_number = -1;
    std::int64_t column_number = -1;
    std::uint32_t hit_count = 0;
    std::uint64_t text_line = 0;    ///< where the node ends in the file
    std::size_t children_begin = 0; ///< range in V8Document::child_ids
    std::size_t children_end = 0;
};

/// A number of a JSON text.
using V8Number = SampleWeight;

/// What a V8 profile holds, as far as it matters here.
struct V8Document {
    /// True for the older form: one node that holds its children.
    bool is_nested = false;
    bool has_nodes = false;
    std::vector<V8Node> nodes;
    std::vector<std::int64_t> child_ids;
    std::vector<std::int64_t> samples;                ///< node ids
    std::optional<std::vector<V8Number>> time_deltas; ///< microseconds
    std::optional<std::vector<V8Number>> timestamps;  ///< microseconds
};

} // namespace panedeck::engine
