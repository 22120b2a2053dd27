#pragma once

#include "basekit/error_code.h"
#include "basekit/sptr.h"
#include "dataface/input_data.h"
#include "notifykit/progress.h"

#include <string>
#include <vector>

namespace panedeck::host {

/// What the handlers look at: one result, or two that are compared, and the queries that both know.
struct open_results_t {
    bk2::sptr_t<dataface1::IInputData> first;
    bk2::sptr_t<dataface1::IInputData> second; ///< null unless two are compared
    bk2::sptr_t<dataface1::IQueryLibrary> library;
    std::vector<std::string> paths; ///< of the results, as they were given
};

/// Opens one or two results through the engine. Each path is a result directory or a profile file, which is
/// imported into memory; what the import left out is kept with the input. `configDirectory` holds the
/// product's query descriptions. Fails with the first failure, naming the file, and leaves `results` empty; a
/// cancelled `progress` is the cancelled error.
bk2::error_code_t openResults(const std::vector<std::string>& paths, const std::string& configDirectory,
                              notifykit2::IProgress* progress, open_results_t& results);

} // namespace panedeck::host
