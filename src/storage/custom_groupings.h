#pragma once

#include "basekit/sptr.h"
#include "basekit/variant_bag.h"
#include "dataface/input_data.h"

namespace panedeck {

/// A person's own groupings are stored as children `grouping_id`, each with the text value `grouping_id` that
/// names the levels of a path (`Thread:Function`), and travel as children `customGrouping`, each the
/// expression of a query (`query` with the own value `/Thread/Function`). Both functions change the whole bag
/// from one form into the other, in order; entries of other names are dropped.

/// A stored path that `library`, which may be null, does not know is left out and logged.
void readCustomGroupings(bk2::variant_bag_t& groupings, const bk2::sptr_t<dataface1::IQueryLibrary>& library);

/// Throws `std::out_of_range` for an empty or missing query.
void writeCustomGroupings(bk2::variant_bag_t& groupings);

} // namespace panedeck
