#pragma once

#include "dispatch/itask_displacement_strategy.h"

namespace panedeck {

/// The displacement rules of the domain `viewpoint`: setting a viewpoint makes every other task obsolete, of
/// whatever domain, and runs alone.
class ViewpointTaskDisplacementStrategy : public ITaskDisplacementStrategy {
public:
    bool isExclusive(const std::string& taskName) override;
    bool isDisplacedBy(const std::string& taskName, const std::string& byTaskName) override;
};

} // namespace panedeck
