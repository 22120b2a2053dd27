#include "viewpoint/viewpoint_task_displacement_strategy.h"

#include "dispatch/task_displacement_map.h"

namespace panedeck {

namespace {

const auto displacementMap =
    TaskDisplacementMap::build() -> incomingTasks("^viewpoint:set") -> displace(".*");

} // namespace

bool ViewpointTaskDisplacementStrategy::isExclusive(const std::string& taskName) {
    return displacementMap->isExclusive(taskName);
}

bool ViewpointTaskDisplacementStrategy::isDisplacedBy(const std::string& taskName,
                                                      const std::string& byTaskName) {
    return displacementMap->isDisplacedBy(taskName, byTaskName);
}

} // namespace panedeck
