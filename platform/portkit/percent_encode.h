#pragma once

// Needed by relay and host, which put names into addresses.

#include "basekit/api.h"
#include "portkit/ustring8.h"

#include <string_view>

namespace portkit2 {

/// The text as it can stand in any place of a URL: all bytes but letters, digits and "-._~" as "%XX".
PANEDECK_API ustring8 percent_encode(std::string_view text);

} // namespace portkit2
