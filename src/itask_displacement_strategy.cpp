#include "dispatch/itask_displacement_strategy.h"

namespace panedeck {

ITaskDisplacementStrategy::~ITaskDisplacementStrategy() = default;

std::string ITaskDisplacementStrategy::buildTaskName(const std::string& requestType,
                                                     const bk2::variant_bag_t&) {
    return requestType;
}

bool ITaskDisplacementStrategy::isMine(const std::string&) {
    return false;
}

bool ITaskDisplacementStrategy::isExclusive(const std::string&) {
    return false;
}

bool ITaskDisplacementStrategy::isDisplacedBy(const std::string&, const std::string&) {
    return false;
}

bool ITaskDisplacementStrategy::isDisplacedOnFilterChange(const std::string&, const std::string&) {
    return false;
}

bool ITaskDisplacementStrategy::isDisplacedOnKnobChange(const std::string&) {
    return false;
}

} // namespace panedeck
