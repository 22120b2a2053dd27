#include "help/help_request_handler.h"

#include "basekit/assertion.h"
#include "handlers/request_handlers.h"
#include "help/help_index.h"
#include "operation_table.h"
#include "request_text.h"
#include "settingshub/product_locations.h"

namespace panedeck {

using bk2::error_code_t;
using bk2::variant_bag_t;

namespace {

constexpr char index_name[] = "help/perfhe_f.HxK";
constexpr char keyword_root[] = "veltra.";
constexpr char keyword_prefix[] = "veltra.phe";

std::map<std::string, std::string> readInstalledIndex() {
    const auto locations = settingshub2::IProductLocations::get();
    const std::string path = locations ? locations->getDocumentationPath(index_name) : std::string();
    return path.empty() ? std::map<std::string, std::string>() : readHelpIndex(path);
}

/// A keyword as the index writes it: "grid" and ".grid" are "veltra.phe.grid".
std::string indexForm(const std::string& keyword) {
    if (keyword.empty() || keyword.starts_with(keyword_root)) return keyword;
    return keyword_prefix + (keyword.starts_with('.') ? keyword : "." + keyword);
}

} // namespace

std::shared_ptr<IRequestHandler> createProductHelpRequestHandler() {
    return std::make_shared<ProductHelpRequestHandler>();
}

ProductHelpRequestHandler::ProductHelpRequestHandler() : m_links(readInstalledIndex()) {}

std::string ProductHelpRequestHandler::getDomainName() {
    return "help";
}

error_code_t ProductHelpRequestHandler::handleRequest(const std::string& operation,
                                                      const variant_bag_t& request, variant_bag_t& response,
                                                      notifykit2::IProgress* progress) {
    static constexpr operation_t<ProductHelpRequestHandler> operations[] = {
        {"documentation:path:get", &ProductHelpRequestHandler::getDocumentationPath},
        {"link:by-keyword:get", &ProductHelpRequestHandler::getLinkByKeyword},
    };
    const auto* found = findOperation(operations, operation);
    return found ? (this->*found->serve)(request, response, progress) : unnamedOperation();
}

error_code_t ProductHelpRequestHandler::getDocumentationPath(const variant_bag_t& request,
                                                             variant_bag_t& response,
                                                             notifykit2::IProgress* /*progress*/) {
    const std::string fileName = ownTextValue(request, "fileName");
    PANEDECK_REQUIRE(!fileName.empty(), "!fileName.empty()", bk2::kinds::is_not_valid_argument, "fileName");
    const auto productLocations = settingshub2::IProductLocations::get();
    PANEDECK_REQUIRE(productLocations, "productLocations", bk2::kinds::failed_to_access_this_object,
                     "product locations are not initialized");
    const std::string filePath = productLocations->getDocumentationPath(fileName);
    PANEDECK_REQUIRE(!filePath.empty(), "!filePath.empty()", bk2::kinds::is_not_valid_argument, "fileName");
    response.put_own_value("filePath", bk2::variant_t(filePath));
    return error_code_t::success();
}

error_code_t ProductHelpRequestHandler::getLinkByKeyword(const variant_bag_t& request,
                                                         variant_bag_t& response,
                                                         notifykit2::IProgress* /*progress*/) {
    const std::string keyword = ownTextValue(request, "keyword");
    PANEDECK_REQUIRE(!keyword.empty(), "!keyword.empty()", bk2::kinds::is_not_valid_argument, "keyword");
    const auto link = m_links.find(indexForm(keyword));
    response.put_own_value("helpLink", bk2::variant_t(link == m_links.end() ? "" : link->second));
    return error_code_t::success();
}

} // namespace panedeck
