#pragma once

#include <cstdint>

namespace panedeck::engine {

/// What rows can be grouped by and samples filtered by: the tables of a result with one level.
enum class Dimension : std::uint8_t { process, thread, module, source_file, function };

inline constexpr int dimension_count = 5;

/// Number of an entry in a dimension's table; 0 is the unknown one.
using DimensionValue = std::uint32_t;

/// Process and thread belong to a sample as a whole; the others to each frame of its stack.
constexpr bool isSampleLevel(Dimension dimension) {
    return dimension == Dimension::process || dimension == Dimension::thread;
}

} // namespace panedeck::engine
