#include "statistic/statistic_request_handler.h"

#include "basekit/assertion.h"
#include "handlers/request_handlers.h"
#include "operation_table.h"
#include "request_text.h"
#include "usagestat/statistic.h"

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;
using bk2::variant_t;
using usagestat1::consent_t;
using usagestat1::statistic_t;

namespace {

constexpr char no_statistic[] = "feature statistic is not initialized";

/// What is neither number nor boolean is no consent.
bool isTrue(const variant_t* value) {
    return value && value->is_numeric() && value->get<double>() != 0;
}

} // namespace

std::shared_ptr<IRequestHandler> createProductStatisticRequestHandler() {
    return std::make_shared<ProductStatisticsRequestHandler>();
}

std::string ProductStatisticsRequestHandler::getDomainName() {
    return "statistics";
}

error_code_t ProductStatisticsRequestHandler::handleRequest(const std::string& operation,
                                                            const variant_bag_t& request,
                                                            variant_bag_t& response,
                                                            notifykit2::IProgress* progress) {
    static constexpr operation_t<ProductStatisticsRequestHandler> operations[] = {
        {"consent:get", &ProductStatisticsRequestHandler::getConsent},
        {"consent:set", &ProductStatisticsRequestHandler::setConsent},
        {"feature:usage", &ProductStatisticsRequestHandler::countUse},
    };
    const auto* found = findOperation(operations, operation);
    return found ? (this->*found->serve)(request, response, progress) : unnamedOperation();
}

error_code_t ProductStatisticsRequestHandler::getConsent(const variant_bag_t& /*request*/,
                                                         variant_bag_t& response,
                                                         notifykit2::IProgress* /*progress*/) {
    const auto statistic = statistic_t::get();
    PANEDECK_REQUIRE(statistic, "statistic", bk2::kinds::failed_to_access_this_object, no_statistic);
    const consent_t consent = statistic->consent();
    response.put_own_value("pending", variant_t(consent == consent_t::pending));
    if (consent != consent_t::pending)
        response.put_own_value("given", variant_t(consent == consent_t::given));
    return error_code_t::success();
}

error_code_t ProductStatisticsRequestHandler::setConsent(const variant_bag_t& request,
                                                         variant_bag_t& /*response*/,
                                                         notifykit2::IProgress* /*progress*/) {
    const auto statistic = statistic_t::get();
    PANEDECK_REQUIRE(statistic, "statistic", bk2::kinds::failed_to_access_this_object, no_statistic);
    return statistic->set_consent(isTrue(request.get_own_value("given")));
}

error_code_t ProductStatisticsRequestHandler::countUse(const variant_bag_t& request,
                                                       variant_bag_t& /*response*/,
                                                       notifykit2::IProgress* /*progress*/) {
    const auto statistic = statistic_t::get();
    PANEDECK_REQUIRE(statistic, "statistic", bk2::kinds::failed_to_access_this_object, no_statistic);
    return statistic->count_use(ownTextValue(request, "featureName"));
}

} // namespace panedeck
