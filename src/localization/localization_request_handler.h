#pragma once

#include "dispatch/irequest_handler.h"
#include "portkit/catalog.h"

#include <string>

namespace panedeck {

/// The domain `localization`: texts for message ids.
class LocalizationRequestHandler final : public IRequestHandler {
public:
    /// The catalog that requests mean which name none.
    explicit LocalizationRequestHandler(const std::string& catalogName);

    std::string getDomainName() override;
    bk2::error_code_t handleRequest(const std::string& operation, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& response, notifykit2::IProgress* progress) override;

private:
    const portkit2::catalog_t* findCatalog(const bk2::variant_bag_t& request) const;
    bk2::error_code_t localize(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                               notifykit2::IProgress* progress);

    const portkit2::catalog_t* m_defaultMessageCatalog; ///< null if it is not installed
};

} // namespace panedeck
