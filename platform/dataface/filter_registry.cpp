#include "dataface/filter_registry.h"

namespace dataface1 {

IQueryFilter::~IQueryFilter() = default;
IQueryFilterBuilder::~IQueryFilterBuilder() = default;
IFilterRegistry::~IFilterRegistry() = default;

} // namespace dataface1
