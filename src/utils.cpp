#include "utils/utils.h"

#include "portkit/catalog.h"

#include <boost/algorithm/string/replace.hpp>

#include <utility>

namespace panedeck {

std::string translateMessage(std::string messageId, const portkit2::varg_list& args,
                             const std::string& catalogName) {
    const portkit2::catalog_t* catalog = portkit2::getMessageCatalog(catalogName);
    const portkit2::message_t message =
        catalog ? catalog->message(messageId) : portkit2::message_t(std::move(messageId));
    return boost::replace_all_copy(message.as_ustring(args), "\n", "<br>");
}

bk2::variant_bag_t getGroupingQueryExpression(const bk2::sptr_t<dataface1::IQuery>& query) {
    bk2::variant_bag_t expression;
    if (query) expression.put_own_value("query", bk2::variant_t(query->getName()));
    return expression;
}

std::string getGroupingQueryDisplayName(const bk2::sptr_t<dataface1::IQuery>& query) {
    std::string names;
    for (auto level = query; level; level = level->getLevelBelow()) {
        const auto shown = dataface1::throughVector(level);
        if (!shown) continue;
        if (!names.empty()) names += " / ";
        names += shown->getDisplayName();
    }
    return names;
}

} // namespace panedeck
