#include "grid/table_tree_query_steps.h"

#include "basekit/assertion.h"

#include <utility>

namespace panedeck {

using bk2::error_code_t;
using bk2::sptr_t;
using dataface1::IQuery;
using dataface1::IVectorQuery;

sptr_t<IVectorQuery> createVectorQuery(const sptr_t<dataface1::IQueryLibrary>& library,
                                       const std::string& name) {
    const auto query = library ? library->findQuery(name) : nullptr;
    PANEDECK_EXPECT(query, "query");
    if (!query) return nullptr;
    const auto vector = IVectorQuery::cast(query);
    return vector ? vector : IVectorQuery::pushBack(nullptr, query);
}

error_code_t removeExpansion(sptr_t<IVectorQuery>& query) {
    const auto members = query ? query->getQueryIterator() : nullptr;
    PANEDECK_REQUIRE(members, "members", bk2::kinds::failed_to_process_this_operation, "getQueryIterator");
    sptr_t<IVectorQuery> output;
    for (; !members->at_end(); members->next()) {
        const sptr_t<IQuery> current = members->current();
        PANEDECK_REQUIRE(current, "current", bk2::kinds::failed_to_get_the_query, "current");
        const auto plain = IQuery::combineExpansion(current, nullptr);
        PANEDECK_REQUIRE(plain, "plain", bk2::kinds::failed_to_process_this_operation, "combineExpansion");
        output = IVectorQuery::pushBack(output, plain);
        PANEDECK_REQUIRE(output, "output", bk2::kinds::failed_to_process_this_operation,
                         "IVectorQuery::pushBack");
    }
    query = std::move(output);
    return error_code_t::success();
}

error_code_t runTableTreeQuery(const sptr_t<slicerkit1::ITableTreeQuery>& query, int queryType,
                               int queryFlags, sptr_t<dataface1::ITableTree>& tree,
                               notifykit2::IProgress* progress) {
    PANEDECK_REQUIRE(query, "query", bk2::kinds::is_not_valid_argument, "query");
    if (notifykit2::is_canceled(progress)) return error_code_t::canceled();
    const auto code = query->getTableTree(tree, progress, queryType | queryFlags);
    if (code.is_empty_result() || (code.succeeded() && !tree)) {
        tree.reset();
        return error_code_t::success();
    }
    if (notifykit2::is_canceled(progress)) return error_code_t::canceled();
    return code;
}

} // namespace panedeck
