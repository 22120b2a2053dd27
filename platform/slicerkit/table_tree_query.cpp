#include "slicerkit/table_tree_query.h"

#include <atomic>

namespace slicerkit1 {

namespace {

std::atomic<ITableTreeQuery::factory_t> query_factory{nullptr};

} // namespace

ITableTreeQuery::~ITableTreeQuery() = default;

bk2::sptr_t<ITableTreeQuery> ITableTreeQuery::create() {
    const auto factory = query_factory.load(std::memory_order_acquire);
    return factory ? factory() : nullptr;
}

void ITableTreeQuery::setFactory(factory_t factory) {
    query_factory.store(factory, std::memory_order_release);
}

} // namespace slicerkit1
