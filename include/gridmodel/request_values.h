#pragma once

#include "basekit/api.h"
#include "basekit/variant_bag.h"

#include <cstdint>
#include <string>

namespace panedeck {

// Scalars of a grid request: child bags that hold a value under the empty name. A missing child, a value of
// another kind and a number that does not fit give the default: a request never hits another row than it
// named.

PANEDECK_API std::string readText(const bk2::variant_bag_t& bag, const char* name,
                                  const std::string& otherwise);
/// Any integer kind whose value fits.
PANEDECK_API int readInteger(const bk2::variant_bag_t& bag, const char* name, int otherwise);
/// A row id: an integer, or its decimal digits as text, as rows carry it in `id`.
PANEDECK_API std::uint64_t readRowId(const bk2::variant_bag_t& bag, std::uint64_t otherwise);

/// The same for a variant; null counts as missing.
PANEDECK_API int integerOr(const bk2::variant_t* value, int otherwise);
PANEDECK_API std::uint64_t rowIdOr(const bk2::variant_t* value, std::uint64_t otherwise);
PANEDECK_API bool booleanOr(const bk2::variant_t* value, bool otherwise);
PANEDECK_API std::string textOr(const bk2::variant_t* value, const std::string& otherwise);

/// A value that a request gives either as a named value or as a child with an own value; null if it gives
/// none.
PANEDECK_API const bk2::variant_t* findValue(const bk2::variant_bag_t& bag, const char* name);

} // namespace panedeck
