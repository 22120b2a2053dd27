#pragma once

// Needed by the programs.

#include "basekit/api.h"

namespace bk2 {

/// Has a write to a pipe or socket whose reader is gone fail in place of ending the process. Every program
/// calls it first: whoever reads its log or the file that it exports to must not decide over its life.
/// Programs that it starts inherit this, unless it sees to it that they do not.
PANEDECK_API void ignore_broken_pipes();

} // namespace bk2
