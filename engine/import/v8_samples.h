#pragma once

#include "import/import_outcome.h"
#include "import/import_report.h"
#include "import/profile_builder.h"
#include "import/v8_document.h"
#include "import/v8_tree.h"
#include "notifykit/progress.h"

namespace panedeck::engine {

/// Adds the samples of a V8 profile, or the hit counts of its nodes if it has none. `line` is the last of the
/// text, for a failure.
ImportOutcome addV8Samples(const V8Document& document, const V8Tree& tree, std::uint64_t line,
                           ProfileBuilder& builder, ImportReport& report, notifykit2::IProgress* progress);

} // namespace panedeck::engine
