#include "localization/localization_request_handler.h"

#include "basekit/assertion.h"
#include "handlers/request_handlers.h"
#include "operation_table.h"
#include "request_text.h"

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;

std::shared_ptr<IRequestHandler> createLocalizationRequestHandler(const std::string& catalogName) {
    return std::make_shared<LocalizationRequestHandler>(catalogName);
}

LocalizationRequestHandler::LocalizationRequestHandler(const std::string& catalogName)
    : m_defaultMessageCatalog(portkit2::getMessageCatalog(catalogName)) {
    PANEDECK_EXPECT(m_defaultMessageCatalog, "m_defaultMessageCatalog");
}

std::string LocalizationRequestHandler::getDomainName() {
    return "localization";
}

error_code_t LocalizationRequestHandler::handleRequest(const std::string& operation,
                                                       const variant_bag_t& request, variant_bag_t& response,
                                                       notifykit2::IProgress* progress) {
    static constexpr operation_t<LocalizationRequestHandler> operations[] = {
        {"localize", &LocalizationRequestHandler::localize},
    };
    const portkit2::catalog_t* messageCatalog = findCatalog(request);
    PANEDECK_REQUIRE(messageCatalog, "messageCatalog", bk2::kinds::failed_to_process_this_operation,
                     "Failed to get message catalog");
    const auto* found = findOperation(operations, operation);
    return found ? (this->*found->serve)(request, response, progress) : unnamedOperation();
}

const portkit2::catalog_t* LocalizationRequestHandler::findCatalog(const variant_bag_t& request) const {
    const std::string name = ownTextValue(request, "messageCatalog");
    return name.empty() ? m_defaultMessageCatalog : portkit2::getMessageCatalog(name);
}

error_code_t LocalizationRequestHandler::localize(const variant_bag_t& request, variant_bag_t& response,
                                                  notifykit2::IProgress* /*progress*/) {
    const variant_bag_t* messageIdsBag = request.get<variant_bag_t>("messageIds");
    PANEDECK_REQUIRE(messageIdsBag, "messageIdsBag", bk2::kinds::failed_to_process_this_operation,
                     "NULL messageIdsBag in LocalizationRequestHandler::handleRequest");
    const portkit2::catalog_t* catalog = findCatalog(request);
    variant_bag_t& messages = response.add_variant_bag("messages");
    for (auto child = messageIdsBag->begin<variant_bag_t>(); !child.at_end(); child.next()) {
        const std::string id(child.get_value().get_variant("").text());
        messages.put(id, bk2::variant_t(catalog->message(id).as_ustring()));
    }
    return error_code_t::success();
}

} // namespace panedeck
