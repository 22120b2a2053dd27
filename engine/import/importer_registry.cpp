#include "import/importer_registry.h"

#include "import/folded_importer.h"
#include "import/perf_script_importer.h"
#include "import/v8_importer.h"

namespace panedeck::engine {

// Folded stacks come last: almost any line that ends in a number could be one.
std::span<const IImporter* const> importers() {
    static const V8Importer v8;
    static const PerfScriptImporter perf_script;
    static const FoldedImporter folded;
    static const IImporter* const all[] = {&v8, &perf_script, &folded};
    return all;
}

} // namespace panedeck::engine
