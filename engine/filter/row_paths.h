#pragma once

#include "store/profile_store.h"
#include "tree/grouping_path.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace panedeck::engine {

/// What one level of a row stands for: a value of a dimension, by its number in one of the results that the
/// row's tree was made of.
struct RowLevel {
    Segment segment = Segment::function;
    std::uint8_t result = 0; ///< which one, if there are two
    DimensionValue value = 0;
};

/// The paths of rows from the top of their tree down, with what they share stored once, so that all rows of a
/// large tree take no more than the tree.
struct RowPaths {
    static constexpr std::uint32_t top = static_cast<std::uint32_t>(-1);

    struct Node {
        RowLevel level;
        std::uint32_t above; ///< the node of the level above, or `top`; it stands before this one
        bool is_row;         ///< false: only on the way to a row
    };

    /// What the numbers of the levels refer to, kept as long as the paths. Another result finds the same
    /// things by their content.
    std::vector<std::shared_ptr<const ProfileStore>> results;
    std::vector<Node> nodes;
    /// Frame levels mean the leaf and callers are read upward from there. Else they mean any frame, callees
    /// go on downward, and a path that begins with callees starts at the root.
    bool from_leaf = false;
};

} // namespace panedeck::engine
