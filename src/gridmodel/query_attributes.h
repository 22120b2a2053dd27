#pragma once

#include "dataface/query.h"

#include <string_view>

namespace panedeck {

/// A yes or no attribute of a query; `otherwise` also for a null query and an attribute that is neither.
inline bool hasAttribute(const bk2::sptr_t<dataface1::IQuery>& query, std::string_view name, bool otherwise) {
    if (!query) return otherwise;
    const auto value = query->getAttribute(name, bk2::variant_t(otherwise));
    return value.can_get<bool>() ? value.get<bool>() : otherwise;
}

} // namespace panedeck
