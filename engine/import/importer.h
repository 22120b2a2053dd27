#pragma once

#include "import/format_score.h"
#include "import/import_outcome.h"
#include "import/import_report.h"
#include "import/profile_builder.h"
#include "import/text_input.h"

#include <string_view>

namespace panedeck::engine {

/// Imports one format. Stateless, so that one object serves all imports at once.
class IImporter {
public:
    virtual ~IImporter() = default;

    /// What a person calls the format.
    virtual std::string_view name() const = 0;

    /// How well text that begins like this fits the format. Never empty and never binary.
    virtual FormatScore score(const TextBeginning& beginning) const = 0;

    /// Reads the whole input into the builder; the beginning that was scored is ahead. A damaged record is
    /// counted in the report; damage to the whole is the outcome. That there was no sample at all, or more
    /// lines that the format does not understand than others, is found out by the caller.
    virtual ImportOutcome import(TextInput& input, ProfileBuilder& builder, ImportReport& report) const = 0;
};

} // namespace panedeck::engine
