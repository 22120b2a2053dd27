#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "store/profile_data.h"

namespace panedeck::engine {

/// The most stack nodes and functions that one result holds: row records keep such numbers in 28 bits.
inline constexpr std::size_t most_callsites = (std::size_t{1} << 28) - 16;

/// Checks everything that later work relies on, in a few passes over the columns: entry 0 of each table,
/// every index within its table, parents before children, columns of one length, one vector in use per
/// metric, no negative weight and no NaN, and sums that fit into 64 bits. The message says what does not fit.
PANEDECK_API bk2::error_code_t validateProfile(const ProfileData& data);

} // namespace panedeck::engine
