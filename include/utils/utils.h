#pragma once

// Small functions that handlers and hosts share.

#include "basekit/api.h"
#include "basekit/sptr.h"
#include "basekit/variant_bag.h"
#include "dataface/query.h"
#include "portkit/message.h"

#include <string>

namespace panedeck {

/// The message of that catalog with `args` in its places %1, %2, …, and `<br>` for each line end. An unknown
/// id, or any id of a catalog that is not installed, gives the id. Nothing else is escaped.
PANEDECK_API std::string translateMessage(std::string messageId, const portkit2::varg_list& args,
                                          const std::string& catalogName);

/// A query as panes name it in requests: a bag whose child `query` has the query's name as its own value. An
/// empty bag for null.
PANEDECK_API bk2::variant_bag_t getGroupingQueryExpression(const bk2::sptr_t<dataface1::IQuery>& query);

/// What a person reads for a grouping: the display names of its levels, joined by " / ". "" for null.
PANEDECK_API std::string getGroupingQueryDisplayName(const bk2::sptr_t<dataface1::IQuery>& query);

} // namespace panedeck
