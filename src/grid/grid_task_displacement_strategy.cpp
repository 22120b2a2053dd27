#include "grid/grid_task_displacement_strategy.h"

#include "basekit/assertion.h"
#include "dispatch/request_type.h"
#include "dispatch/task_displacement_map.h"
#include "filter/ifilter_mgr.h"

#include <list>
#include <utility>

namespace panedeck {

namespace {

const auto displacementMap = TaskDisplacementMap::build() -> incomingTasks("^gridview:search")
                                 -> displace("^gridview:search") -> incomingTasks("^gridview:refresh")
                                     -> displace("^gridview:");

} // namespace

GridTaskDisplacementStrategy::GridTaskDisplacementStrategy(std::shared_ptr<IFilterMgr> filterMgr)
    : m_filterMgr(std::move(filterMgr)) {}

GridTaskDisplacementStrategy::~GridTaskDisplacementStrategy() = default;

std::string GridTaskDisplacementStrategy::buildTaskName(const std::string& requestType,
                                                        const bk2::variant_bag_t& request) {
    const auto* filter = request.get<bk2::variant_bag_t>("filter");
    return requestType + ":" + (filter ? filterNames(*filter) : std::string());
}

std::string GridTaskDisplacementStrategy::filterNames(const bk2::variant_bag_t& filter) const {
    std::list<filter_reference_t> references;
    PANEDECK_EXPECT(m_filterMgr, "m_filterMgr");
    if (m_filterMgr) {
        const auto err = m_filterMgr->getFilterReferences(filter, references);
        PANEDECK_EXPECT(err.succeeded(), "err.succeeded()");
    }
    std::string names;
    for (const auto& [name, inverted] : references)
        names += "," + name;
    return names + ",";
}

bool GridTaskDisplacementStrategy::isMine(const std::string& taskName) {
    const auto domain = splitRequestType(taskName).domain;
    return domain == "grid" || domain == "gridview";
}

bool GridTaskDisplacementStrategy::isExclusive(const std::string& taskName) {
    return displacementMap->isExclusive(taskName);
}

bool GridTaskDisplacementStrategy::isDisplacedBy(const std::string& taskName, const std::string& byTaskName) {
    return displacementMap->isDisplacedBy(taskName, byTaskName);
}

// The commas around each name keep "ab" from being found in ",abc,".
bool GridTaskDisplacementStrategy::isDisplacedOnFilterChange(const std::string& taskName,
                                                             const std::string& filterName) {
    return isMine(taskName) && taskName.find("," + filterName + ",") != std::string::npos;
}

bool GridTaskDisplacementStrategy::isDisplacedOnKnobChange(const std::string& taskName) {
    return isMine(taskName);
}

} // namespace panedeck
