#pragma once

#include "import/importer.h"

namespace panedeck::engine {

/// V8 CPU profiles (`.cpuprofile`): JSON with an array of `nodes`, or in the older form with one nested
/// `head`.
class V8Importer final : public IImporter {
public:
    std::string_view name() const override { return "V8 CPU profile"; }
    FormatScore score(const TextBeginning& beginning) const override;
    ImportOutcome import(TextInput& input, ProfileBuilder& builder, ImportReport& report) const override;
};

} // namespace panedeck::engine
