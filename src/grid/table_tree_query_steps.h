#pragma once

// Steps between a request and a table tree that all grid handlers share.

#include "basekit/error_code.h"
#include "basekit/sptr.h"
#include "dataface/input_data.h"
#include "dataface/query.h"
#include "dataface/table_tree.h"
#include "notifykit/progress.h"
#include "slicerkit/table_tree_query.h"

#include <string>

namespace panedeck {

/// The query of that name as a vector: itself if it is one, else a vector of it. Null, which is logged, if
/// the library does not know the name.
bk2::sptr_t<dataface1::IVectorQuery> createVectorQuery(const bk2::sptr_t<dataface1::IQueryLibrary>& library,
                                                       const std::string& name);

/// Replaces the vector by one whose members have no expansion; an empty one becomes null. On failure it
/// stays.
bk2::error_code_t removeExpansion(bk2::sptr_t<dataface1::IVectorQuery>& query);

/// Runs a query. A result without rows is a success with a null `tree`.
bk2::error_code_t runTableTreeQuery(const bk2::sptr_t<slicerkit1::ITableTreeQuery>& query, int queryType,
                                    int queryFlags, bk2::sptr_t<dataface1::ITableTree>& tree,
                                    notifykit2::IProgress* progress);

} // namespace panedeck
