#pragma once

#include "basekit/api.h"
#include "basekit/sptr.h"
#include "basekit/variant.h"
#include "dataface/input_data.h"
#include "store/profile_data.h"
#include "store/result_directory.h"

#include <cstdint>
#include <string>
#include <vector>

namespace panedeck::engine {

/// A metric of a result and the sum of its weights over all samples.
struct MetricSummary {
    std::string name; ///< as in the query "/Metrics/NAME"
    MetricUnit unit = MetricUnit::count;
    bk2::variant_t total; ///< s64_t, or double if the metric has fractions
};

/// What a person asks of an open result first.
struct ResultSummary {
    ResultFacts facts;
    std::uint64_t samples = 0;
    std::vector<MetricSummary> metrics; ///< in the order of the file
};

/// Of an input that `openResult` or `openProfile` gave; empty for any other. The first call for an input adds
/// up its weights.
PANEDECK_API ResultSummary summarizeResult(const bk2::sptr_t<dataface1::IInputData>& input);

} // namespace panedeck::engine
