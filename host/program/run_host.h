#pragma once

#include "program/host_options.h"

namespace panedeck::host {

/// Opens the results, connects and serves until SIGTERM or SIGINT; standard output tells how far the opening
/// is (`OpeningReport`). Gives the exit code: 0 when stopped by a
/// signal, at whatever stage, 1 for a failure, of which one line on standard error says why.
int runHost(const host_options_t& options);

} // namespace panedeck::host
