#pragma once

#include "import/format_score.h"

namespace panedeck::engine {

/// How well the beginning of a text fits folded stacks. Stricter than the reading of lines, as nearly any
/// line that ends in a number could be a stack: tables, logs and prose must not be taken for a profile.
FormatScore scoreFoldedStacks(const TextBeginning& beginning);

} // namespace panedeck::engine
