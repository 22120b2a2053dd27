#pragma once

#include "import/import_outcome.h"
#include "import/import_report.h"
#include "import/profile_builder.h"

#include <string_view>

namespace panedeck::engine {

/// Folded stacks of which every line ends in two numbers have two metrics. Whether every line does shows only
/// at the end of the file. Until then the first number is read as the end of the last frame's name, so that
/// nothing need be taken back when a line has one number only; afterwards `split` takes it off the names.
class FoldedSecondWeight {
public:
    /// Notes a line that was added: what stands before its last number.
    void note(std::string_view before_weight, std::uint64_t line) {
        if (m_every_line) noteNumber(before_weight, line);
    }

    /// Whether every line so far ended in two numbers.
    bool is_there() const { return m_every_line && m_has_lines; }

    /// Makes two metrics of the profile in the builder. Lines whose first number cannot be used move to the
    /// report's skipped ones. Null if all is well, else why the file is refused.
    const char* split(ProfileBuilder& builder, const ImportLimits& limits, ImportReport& report) const;

private:
    void noteNumber(std::string_view before_weight, std::uint64_t line);

    bool m_every_line = true;
    bool m_has_lines = false;
    ImportReport m_unusable; ///< lines whose first number cannot be used
};

} // namespace panedeck::engine
