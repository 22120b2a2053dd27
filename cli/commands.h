#pragma once

#include "basekit/error_code.h"
#include "command_line.h"

namespace panedeck::cli {

/// The commands of the program. Each prints its outcome on standard output; a failure's message is for one
/// line on standard error, and is empty if a program that it started has already printed one.
bk2::error_code_t run(const ImportCommand& command);
bk2::error_code_t run(const OpenCommand& command);
bk2::error_code_t run(const ListCommand& command);
bk2::error_code_t run(const CheckCommand& command);

} // namespace panedeck::cli
