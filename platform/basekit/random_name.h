#pragma once

// Needed by whatever makes files beside others, or marks that belong to one thing only.

#include "basekit/api.h"

#include <string>

namespace bk2 {

/// Hexadecimal digits, four bits of the system's randomness each: nobody guesses a name of sixteen.
PANEDECK_API std::string random_name(unsigned digits = 16);

} // namespace bk2
