#pragma once

// How numbers read in each of the formatter's number formats. Nothing here looks at the process's locale.

#include "basekit/variant.h"

#include <string>

namespace dataface1 {

/// Seconds with the unit that suits `greatest`, the size of the greatest value in the column: "1.500 ms".
std::string time_text(double seconds, double greatest);
/// Bytes with the unit that suits `greatest`: "512 B", "1.5 KiB".
std::string bytes_text(double bytes, double greatest);
/// Thousands apart: "1,234,567", "1,234.5".
std::string count_text(const bk2::variant_t& value);
/// Integers in full, others with up to three decimals: "1234567", "0.125"; "1e-07" outside their range.
std::string number_text(const bk2::variant_t& value);
/// The bits of an integer: "0x7f". A value that is no integer reads as a number.
std::string hexadecimal_text(const bk2::variant_t& value);
/// One decimal: "12.5%".
std::string percent_text(double part, double whole);

} // namespace dataface1
