#include "storage/storage_request_handler.h"

#include "basekit/assertion.h"
#include "handlers/request_handlers.h"
#include "operation_table.h"
#include "request_text.h"
#include "storage/custom_groupings.h"
#include "storage/stored_properties.h"

#include <utility>

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;

namespace {

constexpr char custom_groupings[] = "customGroupings";
constexpr char old_custom_groupings[] = "custom_groupings";

const variant_bag_t& propertiesOf(const variant_bag_t& request) {
    return *request.get<variant_bag_t>("properties");
}

/// The properties as they are stored, in order; of those with one name the last counts.
error_code_t convertForWriting(const variant_bag_t& properties, variant_bag_t& converted) {
    for (auto property = properties.begin<variant_bag_t>(); !property.at_end(); property.next()) {
        const std::string name(property.get_name());
        if (const auto checked = checkPropertyName(name); checked.failed()) return checked;
        variant_bag_t& stored = converted.put(name, variant_bag_t(property.get_value()));
        if (name == custom_groupings) writeCustomGroupings(stored);
    }
    return error_code_t::success();
}

} // namespace

std::shared_ptr<IRequestHandler>
createStorageRequestHandler(const bk2::sptr_t<settingshub2::ISessionStorageAccessor>& sessionStorage,
                            const bk2::sptr_t<dataface1::IQueryLibrary>& queryLibrary) {
    return createStorageRequestHandler(sessionStorage ? sessionStorage->getOwnStorage() : nullptr,
                                       sessionStorage, queryLibrary);
}

std::shared_ptr<IRequestHandler>
createStorageRequestHandler(const bk2::sptr_t<settingshub2::IPropertyStorage>& ownStorage,
                            const bk2::sptr_t<settingshub2::ISessionStorageAccessor>& sessionStorage,
                            const bk2::sptr_t<dataface1::IQueryLibrary>& queryLibrary) {
    return std::make_shared<StorageRequestHandler>(ownStorage, sessionStorage, queryLibrary);
}

StorageRequestHandler::StorageRequestHandler(
    storage_t ownStorage, bk2::sptr_t<settingshub2::ISessionStorageAccessor> sessionStorage,
    bk2::sptr_t<dataface1::IQueryLibrary> queryLibrary)
    : m_ownStorage(std::move(ownStorage)), m_sessionStorage(std::move(sessionStorage)),
      m_queryLibrary(std::move(queryLibrary)) {}

std::string StorageRequestHandler::getDomainName() {
    return "property";
}

error_code_t StorageRequestHandler::handleRequest(const std::string& operation, const variant_bag_t& request,
                                                  variant_bag_t& response, notifykit2::IProgress* progress) {
    static constexpr operation_t<StorageRequestHandler> operations[] = {
        {"global:get", &StorageRequestHandler::getGlobal},
        {"global:set", &StorageRequestHandler::setGlobal},
        {"state:get", &StorageRequestHandler::getState},
        {"state:set", &StorageRequestHandler::setState},
    };
    const std::string paneId = textValue(request, "paneId");
    PANEDECK_REQUIRE(!paneId.empty(), "!paneId.empty()", bk2::kinds::failed_to_get_object_value,
                     "Pane id is not available");
    PANEDECK_REQUIRE(request.has<variant_bag_t>("properties"), "properties",
                     bk2::kinds::is_not_valid_parameter, "properties");
    PANEDECK_REQUIRE(m_sessionStorage, "m_sessionStorage", bk2::kinds::failed_to_process_this_operation,
                     "Invalid session storage pointer");
    const auto* found = findOperation(operations, operation);
    if (!found) return error_code_t::failure("Invalid storage request type.");
    return (this->*found->serve)(request, response, progress);
}

error_code_t StorageRequestHandler::getGlobal(const variant_bag_t& request, variant_bag_t& response,
                                              notifykit2::IProgress* /*progress*/) {
    return getProperties(propertiesOf(request), response, globalStorage(request));
}

error_code_t StorageRequestHandler::setGlobal(const variant_bag_t& request, variant_bag_t& /*response*/,
                                              notifykit2::IProgress* /*progress*/) {
    return setProperties(propertiesOf(request), globalStorage(request));
}

error_code_t StorageRequestHandler::getState(const variant_bag_t& request, variant_bag_t& response,
                                             notifykit2::IProgress* /*progress*/) {
    return getProperties(propertiesOf(request), response, stateStorage(request));
}

error_code_t StorageRequestHandler::setState(const variant_bag_t& request, variant_bag_t& /*response*/,
                                             notifykit2::IProgress* /*progress*/) {
    if (isOfOtherUser(request)) return error_code_t::success();
    return setProperties(propertiesOf(request), stateStorage(request));
}

StorageRequestHandler::storage_t StorageRequestHandler::globalStorage(const variant_bag_t& request) const {
    return settingshub2::getGlobalStorage(m_sessionStorage, textValue(request, "paneId"));
}

StorageRequestHandler::storage_t StorageRequestHandler::stateStorage(const variant_bag_t& request) const {
    return m_sessionStorage->getPaneStorage(textValue(request, "paneId"));
}

bool StorageRequestHandler::isOfOtherUser(const variant_bag_t& request) const {
    const std::string asker = textValue(request, "userId");
    const std::string owner = m_sessionStorage->getUserId();
    return !asker.empty() && !owner.empty() && asker != owner;
}

error_code_t StorageRequestHandler::getProperties(const variant_bag_t& properties, variant_bag_t& response,
                                                  const storage_t& propertyStorage) const {
    PANEDECK_REQUIRE(propertyStorage, "propertyStorage", bk2::kinds::failed_to_process_this_operation,
                     "Invalid storage pointer");
    for (auto property = properties.begin<variant_bag_t>(); !property.at_end(); property.next()) {
        const std::string name(property.get_name());
        if (const auto checked = checkPropertyName(name); checked.failed()) return checked;
        response.put(name, readProperty(name, *propertyStorage));
    }
    return error_code_t::success();
}

variant_bag_t StorageRequestHandler::readProperty(const std::string& name,
                                                  const settingshub2::IPropertyStorage& storage) const {
    variant_bag_t stored = storage.readBag(name, {});
    if (name != custom_groupings) return stored;
    if (stored.is_empty() && m_ownStorage) stored = m_ownStorage->readBag(old_custom_groupings, {});
    readCustomGroupings(stored, m_queryLibrary);
    return stored;
}

// In one write, so that of a request that cannot be stored nothing is.
error_code_t StorageRequestHandler::setProperties(const variant_bag_t& properties,
                                                  const storage_t& propertyStorage) {
    PANEDECK_REQUIRE(propertyStorage, "propertyStorage", bk2::kinds::failed_to_process_this_operation,
                     "Invalid storage pointer");
    variant_bag_t converted;
    if (const auto result = convertForWriting(properties, converted); result.failed()) return result;
    if (converted.is_empty()) return error_code_t::success();
    return storingResult(propertyStorage->change([&converted](variant_bag_t& content) {
        for (auto property = converted.begin<variant_bag_t>(); !property.at_end(); property.next())
            content.put(property.get_name(), std::move(property.get_value()));
        return true;
    }));
}

} // namespace panedeck
