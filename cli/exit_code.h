#pragma once

namespace panedeck::cli {

/// What the program gives back to its caller.
enum ExitCode : int {
    exit_done = 0,
    exit_failed = 1, ///< one line on standard error says why
    exit_bad_usage = 2,
};

} // namespace panedeck::cli
