#pragma once

#include "dispatch/irequest_handler.h"

#include <map>
#include <string>

namespace panedeck {

/// The domain `help`: links for the keywords of help buttons, and paths of documents.
class ProductHelpRequestHandler final : public IRequestHandler {
public:
    /// Reads the installed index, once.
    ProductHelpRequestHandler();

    std::string getDomainName() override;
    bk2::error_code_t handleRequest(const std::string& operation, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& response, notifykit2::IProgress* progress) override;

private:
    bk2::error_code_t getDocumentationPath(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                                           notifykit2::IProgress* progress);
    bk2::error_code_t getLinkByKeyword(const bk2::variant_bag_t& request, bk2::variant_bag_t& response,
                                       notifykit2::IProgress* progress);

    const std::map<std::string, std::string> m_links; ///< by keyword, in the index's form
};

} // namespace panedeck
