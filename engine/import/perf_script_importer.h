#pragma once

#include "import/importer.h"

namespace panedeck::engine {

/// The text that `perf script` prints: a header line per sample, then its frames, leaf first.
class PerfScriptImporter final : public IImporter {
public:
    std::string_view name() const override { return "perf script"; }
    FormatScore score(const TextBeginning& beginning) const override;
    ImportOutcome import(TextInput& input, ProfileBuilder& builder, ImportReport& report) const override;
};

} // namespace panedeck::engine
