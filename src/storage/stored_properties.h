#pragma once

#include "basekit/error_code.h"
#include "settingshub/property_storage.h"

#include <string>

namespace panedeck {

/// What the handlers of stored properties answer when a storage cannot be written: the system's own text
/// under their kind.
inline bk2::error_code_t storingResult(const bk2::error_code_t& written) {
    if (written.succeeded()) return bk2::error_code_t::success();
    return bk2::error_code_t::raise(bk2::kinds::failed_to_process_this_operation, written.message());
}

/// Fails for a name that is too long for a property.
inline bk2::error_code_t checkPropertyName(std::string_view name) {
    if (!settingshub2::IPropertyStorage::isTooLong(name)) return bk2::error_code_t::success();
    return bk2::error_code_t::raise(bk2::kinds::failed_to_process_this_operation, "Invalid storage pointer");
}

} // namespace panedeck
