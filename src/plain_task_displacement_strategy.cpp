#include "plain_task_displacement_strategy.h"

namespace panedeck {

const std::shared_ptr<ITaskDisplacementStrategy>& plainTaskDisplacementStrategy() {
    static const auto strategy = std::make_shared<ITaskDisplacementStrategy>();
    return strategy;
}

} // namespace panedeck
