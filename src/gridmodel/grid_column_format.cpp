#include "gridmodel/grid_column_format.h"

#include "basekit/assertion.h"

#include <utility>

namespace panedeck {

using bk2::variant_bag_t;
using bk2::variant_t;

namespace {

void saveFormat(const std::string& id, const std::string& displayName, variant_bag_t& bag) {
    bag.put<variant_t>("id", variant_t(id));
    if (!displayName.empty()) bag.put<variant_t>("displayName", variant_t(displayName));
}

std::string withArgument(std::string text, const std::string& argument) {
    const auto place = text.find("%1");
    return place == std::string::npos ? text : text.replace(place, 2, argument);
}

} // namespace

GridColumnFormat::GridColumnFormat(std::string id, std::string displayName)
    : m_id(std::move(id)), m_displayName(std::move(displayName)) {}

GridColumnFormat::~GridColumnFormat() = default;

void GridColumnFormat::saveToVBag(variant_bag_t& bag) const {
    saveFormat(m_id, m_displayName, bag);
}

GridColumnPercentByFormat::GridColumnPercentByFormat(std::string id, std::string displayName,
                                                     const bk2::sptr_t<dataface1::IQuery>& query)
    : GridColumnFormat(std::move(id), std::move(displayName)) {
    const auto metrics =
        query ? query->getPercentBaseMetrics() : std::vector<bk2::sptr_t<dataface1::IQuery>>();
    PANEDECK_EXPECT(!metrics.empty(), "!percentBaseMetrics.at_end()");
    if (!metrics.empty()) m_baseMetric = metrics.front();
}

GridColumnPercentByFormat::~GridColumnPercentByFormat() = default;

void GridColumnPercentByFormat::saveToVBag(variant_bag_t& bag) const {
    const std::string base = m_baseMetric ? m_baseMetric->getDisplayName() : std::string();
    saveFormat(getId(), withArgument(getDisplayName(), base), bag);
}

} // namespace panedeck
