#include "storage/custom_groupings.h"

#include "logkit/component_logger.h"
#include "request_text.h"
#include "utils/utils.h"

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

namespace panedeck {

namespace {

using bk2::variant_bag_t;

constexpr char stored_name[] = "grouping_id";
constexpr char sent_name[] = "customGrouping";

/// "Thread:Function" is "/Thread/Function".
std::string pathOf(std::string groupingId) {
    std::ranges::replace(groupingId, ':', '/');
    return "/" + groupingId;
}

std::string groupingIdOf(std::string path) {
    std::ranges::replace(path, '/', ':');
    return path.substr(1);
}

void replaceAll(variant_bag_t& groupings, const char* name, std::vector<variant_bag_t>& converted) {
    groupings.clear();
    for (variant_bag_t& grouping : converted)
        groupings.add_variant_bag(name, std::move(grouping));
}

} // namespace

void readCustomGroupings(variant_bag_t& groupings, const bk2::sptr_t<dataface1::IQueryLibrary>& library) {
    std::vector<variant_bag_t> expressions;
    for (auto stored = groupings.begin_by_name<variant_bag_t>(stored_name); !stored.at_end(); stored.next()) {
        const std::string path = pathOf(textValue(stored.get_value(), stored_name));
        if (const auto query = library ? library->findQuery(path) : nullptr)
            expressions.push_back(getGroupingQueryExpression(query));
        else
            logkit1::log(logkit1::level_t::warning, "A stored grouping is unknown here: " + path);
    }
    replaceAll(groupings, sent_name, expressions);
}

void writeCustomGroupings(variant_bag_t& groupings) {
    std::vector<variant_bag_t> ids;
    for (auto sent = groupings.begin_by_name<variant_bag_t>(sent_name); !sent.at_end(); sent.next()) {
        const std::string path = ownTextValue(sent.get_value(), "query");
        ids.emplace_back().put(stored_name, bk2::variant_t(groupingIdOf(path)));
    }
    replaceAll(groupings, stored_name, ids);
}

} // namespace panedeck
