#pragma once

#include "dispatch/irequest_handler.h"

namespace panedeck {

/// The domain `features`: whether a feature of the product is switched on. Answers whatever else it is asked
/// with success and nothing.
class FeatureManagementRequestHandler final : public IRequestHandler {
public:
    std::string getDomainName() override;
    bk2::error_code_t handleRequest(const std::string& operation, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& response, notifykit2::IProgress* progress) override;

private:
    bk2::error_code_t getState(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                               notifykit2::IProgress* progress);
};

} // namespace panedeck
