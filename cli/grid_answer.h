#pragma once

#include "basekit/error_code.h"
#include "basekit/variant_bag.h"

#include <map>
#include <string>

namespace panedeck::cli {

/// The parameters of a `grid` request for the profile's functions, heaviest first, with their weights; at
/// most `limit` rows.
bk2::variant_bag_t function_table_request(unsigned limit);

/// The answer to a `grid` request as a table of text: a row for each of its rows, the values with the units
/// that `units` has for the metrics' names. Says behind it if there are more rows. Fails if the answer does
/// not hold a table.
bk2::error_code_t grid_answer_as_text(const bk2::variant_bag_t& answer,
                                      const std::map<std::string, std::string>& units, std::string& text);

} // namespace panedeck::cli
