#pragma once

#include "dispatch/irequest_handler.h"
#include "settingshub/property_storage.h"

namespace panedeck {

/// The domain `globalProperty`: one named bag in a section of the user's settings.
class GlobalStorageRequestHandler final : public IRequestHandler {
public:
    std::string getDomainName() override;
    bk2::error_code_t handleRequest(const std::string& operation, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& response, notifykit2::IProgress* progress) override;

private:
    bk2::error_code_t get(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                          notifykit2::IProgress* progress);
    bk2::error_code_t set(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                          notifykit2::IProgress* progress);
};

} // namespace panedeck
