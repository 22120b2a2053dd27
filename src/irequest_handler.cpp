#include "dispatch/irequest_handler.h"

#include "plain_task_displacement_strategy.h"

namespace panedeck {

IRequestHandler::~IRequestHandler() = default;

bk2::error_code_t IRequestHandler::buildTaskName(const std::string& requestType,
                                                 const bk2::variant_bag_t& request, std::string& taskName) {
    if (const auto strategy = getTaskDisplacementStrategy())
        taskName = strategy->buildTaskName(requestType, request);
    return bk2::error_code_t::success();
}

std::shared_ptr<ITaskDisplacementStrategy> IRequestHandler::getTaskDisplacementStrategy() {
    return plainTaskDisplacementStrategy();
}

} // namespace panedeck
