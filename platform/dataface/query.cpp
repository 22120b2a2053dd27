#include "dataface/query.h"

#include "dataface/vector_query.h"

#include <utility>

namespace dataface1 {

IQuery::~IQuery() = default;
IVectorQuery::~IVectorQuery() = default;
IInfoQuery::~IInfoQuery() = default;
IDerivedQuery::~IDerivedQuery() = default;
ITimeQuery::~ITimeQuery() = default;

bk2::sptr_t<IQuery> IQuery::combineExpansion(const bk2::sptr_t<IQuery>& query,
                                             const bk2::sptr_t<IQuery>& expansion) {
    return query ? query->withExpansion(expansion) : nullptr;
}

bk2::sptr_t<IVectorQuery> IVectorQuery::cast(const bk2::sptr_t<IQuery>& query) {
    return bk2::interface_cast<IVectorQuery>(query);
}

bk2::sptr_t<IVectorQuery> IVectorQuery::pushBack(const bk2::sptr_t<IVectorQuery>& vector,
                                                 const bk2::sptr_t<IQuery>& query) {
    if (!query) return nullptr;
    std::vector<bk2::sptr_t<IQuery>> members;
    if (vector) {
        const auto iterator = vector->getQueryIterator();
        if (!iterator) return nullptr;
        for (; !iterator->at_end(); iterator->next())
            members.push_back(iterator->current());
    }
    members.push_back(query);
    return bk2::make_sptr<VectorQuery>(std::move(members));
}

bk2::sptr_t<IInfoQuery> IInfoQuery::cast(const bk2::sptr_t<IQuery>& query) {
    return bk2::interface_cast<IInfoQuery>(query);
}

bk2::sptr_t<IDerivedQuery> IDerivedQuery::cast(const bk2::sptr_t<IQuery>& query) {
    return bk2::interface_cast<IDerivedQuery>(query);
}

bk2::sptr_t<ITimeQuery> ITimeQuery::cast(const bk2::sptr_t<IQuery>& query) {
    return bk2::interface_cast<ITimeQuery>(query);
}

bk2::sptr_t<IQuery> throughVector(const bk2::sptr_t<IQuery>& query) {
    const auto vector = IVectorQuery::cast(query);
    return vector ? vector->getUnderlyingQuery() : query;
}

} // namespace dataface1
