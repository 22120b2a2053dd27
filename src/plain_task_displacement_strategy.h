#pragma once

#include "dispatch/itask_displacement_strategy.h"

#include <memory>

namespace panedeck {

/// The one strategy object of the process under which nothing displaces anything, made on first use.
const std::shared_ptr<ITaskDisplacementStrategy>& plainTaskDisplacementStrategy();

} // namespace panedeck
