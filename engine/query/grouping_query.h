#pragma once

#include "basekit/sptr.h"
#include "dataface/query.h"
#include "query/query_handles.h"

#include <string>

namespace panedeck::engine {

/// Names of levels as a person reads them.
struct LevelNames {
    std::string display_name;
    std::string description;
    std::string alias_for_unknown = "[unknown]";
};

/// The info query of one level, with the name "/Segment".
bk2::sptr_t<dataface1::IInfoQuery> makeLevelQuery(Segment segment, const LevelNames& names);

/// A grouping path as a vector: the members are the levels' info queries, it stands for the first one, and
/// `below` is the rest of the path (null behind the last level).
bk2::sptr_t<dataface1::IVectorQuery> makePathQuery(GroupingPath path,
                                                   std::vector<bk2::sptr_t<dataface1::IQuery>> levels,
                                                   bk2::sptr_t<dataface1::IQuery> below);

/// A fact about functions as a column.
bk2::sptr_t<dataface1::IInfoQuery> makeFactQuery(FunctionFact fact, std::string name,
                                                 const LevelNames& names);

/// Several queries under one name.
bk2::sptr_t<dataface1::IVectorQuery> makeNamedVector(std::string name, std::string display_name,
                                                     std::vector<bk2::sptr_t<dataface1::IQuery>> members);

} // namespace panedeck::engine
