#pragma once

// How numbers read in each of the formatter's number formats. Nothing here looks at the process's locale.
// All of them replace `text`, whose room is used again: formatting a column allocates nothing.

#include "basekit/variant.h"

#include <string>

namespace dataface1 {

/// Seconds with the unit that suits `greatest`, the size of the greatest value in the column: "1.500 ms".
void write_time(std::string& text, double seconds, double greatest);
/// Bytes with the unit that suits `greatest`: "512 B", "1.5 KiB".
void write_bytes(std::string& text, double bytes, double greatest);
/// Thousands apart: "1,234,567", "1,234.5".
void write_count(std::string& text, const bk2::variant_t& value);
/// Integers in full, others with up to three decimals: "1234567", "0.125"; "1e-07" outside their range.
void write_number(std::string& text, const bk2::variant_t& value);
/// The bits of an integer: "0x7f". A value that is no integer reads as a number.
void write_hexadecimal(std::string& text, const bk2::variant_t& value);
/// One decimal: "12.5%".
void write_percent(std::string& text, double part, double whole);
/// Any value as `bk2::get_value_string` gives it.
void write_plain(std::string& text, const bk2::variant_t& value);

} // namespace dataface1
