#pragma once

// The names in `profile.sqlite` that its writer and its reader share.

#include <fmt/format.h>

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace panedeck::engine {

static_assert(std::endian::native == std::endian::little, "columns are stored as they lie in memory");

namespace layout {

inline constexpr char result_id[] = "id";
inline constexpr char position_unit[] = "position_unit";
inline constexpr char skipped[] = "skipped";
inline constexpr char adjusted[] = "adjusted";
inline constexpr char stack_tree[] = "dd_callsite";

/// The column in which a metric's weights are stored.
inline std::string metricColumn(std::size_t index) {
    return fmt::format("metric:{}", index);
}

/// What the checksum of a chunk of a column goes by; that of a table goes by the table's name.
inline std::string chunkChecksum(std::string_view column, std::int64_t chunk) {
    return fmt::format("{}/{}", column, chunk);
}

} // namespace layout

/// How often row loops look at the progress object: some milliseconds of work.
inline constexpr std::size_t rows_between_polls = 16384;

} // namespace panedeck::engine
