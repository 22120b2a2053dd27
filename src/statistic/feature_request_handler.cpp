#include "statistic/feature_request_handler.h"

#include "handlers/request_handlers.h"
#include "operation_table.h"
#include "request_text.h"
#include "settingshub/product_locations.h"

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;

std::shared_ptr<IRequestHandler> createFeatureManagementRequestHandler() {
    return std::make_shared<FeatureManagementRequestHandler>();
}

std::string FeatureManagementRequestHandler::getDomainName() {
    return "features";
}

error_code_t FeatureManagementRequestHandler::handleRequest(const std::string& operation,
                                                            const variant_bag_t& request,
                                                            variant_bag_t& response,
                                                            notifykit2::IProgress* progress) {
    static constexpr operation_t<FeatureManagementRequestHandler> operations[] = {
        {"state", &FeatureManagementRequestHandler::getState},
    };
    const auto* found = findOperation(operations, operation);
    return found ? (this->*found->serve)(request, response, progress) : error_code_t::success();
}

error_code_t FeatureManagementRequestHandler::getState(const variant_bag_t& request, variant_bag_t& response,
                                                       notifykit2::IProgress* /*progress*/) {
    const auto locations = settingshub2::IProductLocations::get();
    const bool isEnabled = locations && locations->isFeatureEnabled(ownTextValue(request, "feature"));
    response.put_own_value("enabled", bk2::variant_t(isEnabled));
    return error_code_t::success();
}

} // namespace panedeck
