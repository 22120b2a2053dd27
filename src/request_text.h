#pragma once

#include "basekit/variant_bag.h"

#include <string>
#include <string_view>

namespace panedeck {

/// The named text value of a request; "" if there is none, or none that is text.
inline std::string textValue(const bk2::variant_bag_t& request, std::string_view name) {
    const bk2::variant_t* value = request.get<bk2::variant_t>(name);
    return value ? std::string(value->text()) : std::string();
}

/// The same for the own value of the child of that name.
inline std::string ownTextValue(const bk2::variant_bag_t& request, std::string_view childName) {
    const bk2::variant_t* value = request.get_own_value(childName);
    return value ? std::string(value->text()) : std::string();
}

} // namespace panedeck
