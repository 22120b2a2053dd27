#pragma once

#include "import/importer.h"

namespace panedeck::engine {

/// Folded stacks: `frame;frame;...;frame WEIGHT` per line, root first; two metrics if every line ends in two
/// numbers.
class FoldedImporter final : public IImporter {
public:
    std::string_view name() const override { return "folded stacks"; }
    FormatScore score(const TextBeginning& beginning) const override;
    ImportOutcome import(TextInput& input, ProfileBuilder& builder, ImportReport& report) const override;
};

} // namespace panedeck::engine
