#pragma once

#include "import/import_outcome.h"
#include "import/import_report.h"
#include "import/profile_builder.h"
#include "import/text_input.h"

#include <string_view>

namespace panedeck::engine {

/// The first bytes of a text, and whether they are all of it.
struct TextBeginning {
    std::string_view text;
    bool is_complete = false;
};

/// Imports one format. Stateless, so that one object serves all imports at once.
class IImporter {
public:
    virtual ~IImporter() = default;

    /// What a person calls the format.
    virtual std::string_view name() const = 0;

    /// Whether text that begins like this is of the format. Never empty and never binary.
    virtual bool recognises(const TextBeginning& beginning) const = 0;

    /// Reads the whole input into the builder. A damaged record is counted in the report; damage to the whole
    /// is the outcome. That there was no sample at all is found out by the caller.
    virtual ImportOutcome import(TextInput& input, ProfileBuilder& builder, ImportReport& report) const = 0;
};

} // namespace panedeck::engine
