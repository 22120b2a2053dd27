#pragma once

#include "basekit/variant_bag.h"

#include <map>
#include <string>
#include <vector>

namespace panedeck::cli {

/// The answer to `profile:summary`, as far as a table of text needs it.
struct ProfileSummary {
    std::map<std::string, std::string> units; ///< by the name that columns show of a metric
    /// What the imports skipped, in a sentence for each result that lost something.
    std::vector<std::string> sentences;
};

/// What is missing from the answer is missing from the summary.
ProfileSummary read_profile_summary(const bk2::variant_bag_t& answer);

} // namespace panedeck::cli
