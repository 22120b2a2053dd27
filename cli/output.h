#pragma once

#include "basekit/error_code.h"

#include <string>
#include <string_view>

namespace panedeck::cli {

/// Writes to standard output at once. Fails if that does not take it: a full disk, a closed pipe.
bk2::error_code_t write_output(std::string_view text);

/// A path for standard output: as it is for programs, which may use it, and safe to look at on a terminal.
std::string output_path(const std::string& path);

/// Writes a line to standard error, safe to look at on a terminal. An empty text writes nothing.
void write_complaint(std::string_view text);

} // namespace panedeck::cli
