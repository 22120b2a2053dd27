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

/// What an import did, for a program to print.
class PANEDECK_API ImportReport {
public:
    /// The importer that took the file, e.g. "folded stacks"; empty if none did.
    std::string format;
    /// What `CountedReason::first_positions` counts: "line" or "sample".
    std::string position_unit = "line";
    /// Records that became samples.
    std::uint64_t records_read = 0;
    /// Of a format of lines: lines that made sense, and lines that did not. Both 0 for other formats.
    std::uint64_t lines_understood = 0;
    std::uint64_t lines_lost = 0;
    /// Lines or samples left out, per reason.
    std::vector<CountedReason> skipped;
    /// Samples that were kept with a changed weight, per reason.
    std::vector<CountedReason> adjusted;

    void skip(std::string_view reason, std::uint64_t position) { count(skipped, reason, position); }
    void adjust(std::string_view reason, std::uint64_t position) { count(adjusted, reason, position); }

    /// Adds what another part of the same import skipped.
    void addSkipped(const ImportReport& other);

    std::uint64_t skipped_total() const;

    /// One line per fact worth telling, e.g. "12 lines skipped: 10 without a weight (lines 3, 5, 9, 11, 12,
    /// ...), 2 with a negative weight (lines 20, 31)". Empty if all was in order.
    std::vector<std::string> messages() const;

private:
    static CountedReason& find(std::vector<CountedReason>& reasons, std::string_view reason);
    static void count(std::vector<CountedReason>& reasons, std::string_view reason, std::uint64_t position);
    std::string message(const std::vector<CountedReason>& reasons, std::string_view what) const;
};

} // namespace panedeck::engine
