#pragma once

#include "filter/filter_expression.h"

namespace panedeck::engine {

/// Works out which samples of `store` an expression lets through, without looking at what is known already:
/// conditions become tables over stack nodes or threads, tables of one kind are joined entry by entry, and
/// only what is left is joined sample by sample. `bits` has the size of the samples and no bit set. Polls
/// `progress`.
bk2::error_code_t evaluateFilter(const FilterExpression& expression, const ProfileStore& store,
                                 notifykit2::IProgress* progress, SampleBits& bits);

} // namespace panedeck::engine
