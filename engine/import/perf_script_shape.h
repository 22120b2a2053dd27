#pragma once

#include "import/format_score.h"

namespace panedeck::engine {

/// What the beginning of a text shows of `perf script`. Which fields it has was chosen by whoever ran it, so
/// that some texts have no headers and others nothing but one line for each sample.
struct PerfScriptShape {
    /// Strict: a line counts as understood only together with the lines that make it a part of a sample.
    FormatScore score;
    /// No line begins a sample: each run of frames is one.
    bool has_only_frames = false;
    /// Each line is a sample with a single frame.
    bool has_single_lines = false;
};

PerfScriptShape perfScriptShapeOf(const TextBeginning& beginning);

} // namespace panedeck::engine
