#pragma once

#include "basekit/error_code.h"
#include "session.h"
#include "stop_signals.h"

#include <chrono>

namespace panedeck::cli {

/// Waits until the session's results are open and shows how far that is. The cancelled error if the program
/// was asked to stop meanwhile; fails after `deadline`, or if the results cannot be opened.
bk2::error_code_t wait_for_results(
    Session& session, StopSignals& signals,
    std::chrono::steady_clock::time_point deadline = std::chrono::steady_clock::time_point::max());

} // namespace panedeck::cli
