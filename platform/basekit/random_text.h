#pragma once

// Needed by whatever hands out secrets or names that nobody may guess.

#include "basekit/api.h"

#include <string>

namespace bk2 {

/// `bytes` bytes of the operating system's randomness as twice as many hexadecimal digits; at most 128 bytes.
/// 16 of them cannot be guessed. Never fails: the system always gives so few, at worst after it has gathered
/// enough at its start.
PANEDECK_API std::string random_hex_digits(unsigned bytes);

} // namespace bk2
