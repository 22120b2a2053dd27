#pragma once

#include "grid/basegridrequesthandler.h"

namespace panedeck {

/// Serves the domain `grid`: a query's whole table in one answer, with nothing kept between requests.
///
/// The request says what to show as all grid requests do, and with the text `limit` how many rows at most.
/// The answer is what `saveTableTreeToVBag` writes, with `fullName` and `aliasForUnknown` added to the
/// columns, and `fullContent`, which is false if the limit cut the table. A query that finds no row has an
/// empty answer. All operations of the domain are the same.
class GridRequestHandler : public BaseGridRequestHandler {
public:
    using BaseGridRequestHandler::BaseGridRequestHandler;
    ~GridRequestHandler() override;

    std::string getDomainName() override;
    bk2::error_code_t handleRequest(const std::string& requestType, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& answer, notifykit2::IProgress* progress) override;

private:
    bk2::error_code_t answerWithTree(const bk2::sptr_t<slicerkit1::ITableTreeQuery>& query, int queryType,
                                     int queryFlags, bk2::u32_t limit, bk2::variant_bag_t& answer,
                                     notifykit2::IProgress* progress);
};

} // namespace panedeck
