#pragma once

#include "dispatch/irequest_handler.h"

namespace panedeck {

/// The domain `statistics`: the user's consent to usage statistics, and the counting of uses.
class ProductStatisticsRequestHandler final : public IRequestHandler {
public:
    std::string getDomainName() override;
    bk2::error_code_t handleRequest(const std::string& operation, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& response, notifykit2::IProgress* progress) override;

private:
    bk2::error_code_t getConsent(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                                 notifykit2::IProgress* progress);
    bk2::error_code_t setConsent(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                                 notifykit2::IProgress* progress);
    bk2::error_code_t countUse(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                               notifykit2::IProgress* progress);
};

} // namespace panedeck
