#pragma once

#include "basekit/api.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace panedeck::engine {

/// How often something was met, and where first.
struct CountedReason {
    std::string reason;
    std::uint64_t count = 0;
    /// Line numbers (sample numbers, for a format without lines) of the first few, counted from 1.
    std::vector<std::uint64_t> first_positions;
};

/// What an import left out or changed. Kept with the result, so that it can be told whenever that is opened.
struct PANEDECK_API ImportNotes {
    /// What `CountedReason::first_positions` counts: "line" or "sample".
    std::string position_unit = "line";
    /// Lines or samples left out, per reason.
    std::vector<CountedReason> skipped;
    /// Samples that were kept with a changed weight, per reason.
    std::vector<CountedReason> adjusted;

    std::uint64_t skipped_total() const;

    /// One line per fact worth telling, e.g. "12 lines skipped: 10 without a weight (lines 3, 5, 9, 11, 12,
    /// ...), 2 with a negative weight (lines 20, 31)". Empty if all was in order.
    std::vector<std::string> messages() const;

private:
    std::string message(const std::vector<CountedReason>& reasons, std::string_view what) const;
};

} // namespace panedeck::engine
