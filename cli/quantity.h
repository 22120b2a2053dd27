#pragma once

#include "basekit/variant.h"

#include <string>

namespace panedeck::cli {

/// A number with its unit, in the size in which a person reads it: `113.409 ms`, `4.500 MiB`. `unit` is one
/// of `profile:summary`; a count, or a unit that is not known, leaves the number as it is.
std::string quantity_text(const bk2::variant_t& number, const std::string& unit);

} // namespace panedeck::cli
