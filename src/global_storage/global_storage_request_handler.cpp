#include "global_storage/global_storage_request_handler.h"

#include "basekit/assertion.h"
#include "handlers/request_handlers.h"
#include "operation_table.h"
#include "request_text.h"
#include "settingshub/global_storage.h"
#include "storage/stored_properties.h"

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;

namespace {

constexpr char section_key[] = "sectionName";
constexpr char property_key[] = "property";

bk2::sptr_t<settingshub2::IPropertyStorage> sectionOf(const variant_bag_t& request) {
    return settingshub2::IGlobalStorage::get()->getSubStorage(textValue(request, section_key));
}

/// Fails unless the request names a property in a section that there can be.
error_code_t checkNames(const variant_bag_t& request) {
    const std::string sectionName = textValue(request, section_key);
    PANEDECK_REQUIRE(!sectionName.empty(), "!sectionName.empty()", bk2::kinds::failed_to_get_object_value,
                     "Global storage section name is not available");
    const std::string propertyName = textValue(request, property_key);
    PANEDECK_REQUIRE(!propertyName.empty(), "!propertyName.empty()", bk2::kinds::failed_to_get_object_value,
                     "Property name is not available");
    const auto globalStorage = settingshub2::IGlobalStorage::get();
    PANEDECK_REQUIRE(globalStorage, "globalStorage", bk2::kinds::failed_to_process_this_operation,
                     "Invalid global storage pointer");
    const auto propertyStorage = sectionOf(request);
    PANEDECK_REQUIRE(propertyStorage, "propertyStorage", bk2::kinds::failed_to_process_this_operation,
                     "Invalid property storage pointer");
    return checkPropertyName(propertyName);
}

} // namespace

std::shared_ptr<IRequestHandler> createGlobalStorageRequestHandler() {
    return std::make_shared<GlobalStorageRequestHandler>();
}

std::string GlobalStorageRequestHandler::getDomainName() {
    return "globalProperty";
}

error_code_t GlobalStorageRequestHandler::handleRequest(const std::string& operation,
                                                        const variant_bag_t& request, variant_bag_t& response,
                                                        notifykit2::IProgress* progress) {
    static constexpr operation_t<GlobalStorageRequestHandler> operations[] = {
        {"get", &GlobalStorageRequestHandler::get},
        {"set", &GlobalStorageRequestHandler::set},
    };
    if (const auto checked = checkNames(request); checked.failed()) return checked;
    const auto* found = findOperation(operations, operation);
    if (!found) return error_code_t::failure("Invalid global storage request type.");
    return (this->*found->serve)(request, response, progress);
}

error_code_t GlobalStorageRequestHandler::get(const variant_bag_t& request, variant_bag_t& response,
                                              notifykit2::IProgress* /*progress*/) {
    response.put("value", sectionOf(request)->readBag(textValue(request, property_key), {}));
    return error_code_t::success();
}

error_code_t GlobalStorageRequestHandler::set(const variant_bag_t& request, variant_bag_t& /*response*/,
                                              notifykit2::IProgress* /*progress*/) {
    const variant_bag_t* value = request.get<variant_bag_t>("value");
    PANEDECK_REQUIRE(value, "value", bk2::kinds::is_not_valid_parameter, "value");
    return storingResult(sectionOf(request)->writeBag(textValue(request, property_key), *value));
}

} // namespace panedeck
