#include "request_dispatcher.h"

#include "basekit/assertion.h"
#include "dispatch/request_type.h"
#include "plain_task_displacement_strategy.h"

namespace panedeck {

IRequestDispatcher::~IRequestDispatcher() = default;

std::shared_ptr<IRequestDispatcher> IRequestDispatcher::create() {
    return std::make_shared<RequestDispatcher>();
}

RequestDispatcher::RequestDispatcher()
    : m_defaultGroup(IRequestHandlerGroup::create()), m_groups{m_defaultGroup} {}

std::string RequestDispatcher::getDomainName() {
    return {};
}

bk2::error_code_t RequestDispatcher::handleRequest(const std::string& requestType,
                                                   const bk2::variant_bag_t& request,
                                                   bk2::variant_bag_t& response,
                                                   notifykit2::IProgress* progress) {
    const auto requestHandler = getRequestHandler(requestType);
    PANEDECK_REQUIRE(requestHandler, "requestHandler", bk2::kinds::is_not_valid_parameter, requestType);
    const std::string operation(splitRequestType(requestType).operation);
    return requestHandler->handleRequest(operation, request, response, progress);
}

void RequestDispatcher::addRequestHandler(const std::shared_ptr<IRequestHandler>& handler) {
    m_defaultGroup->addRequestHandler(handler);
}

void RequestDispatcher::addRequestHandlerGroup(std::shared_ptr<IRequestHandlerGroup> group) {
    PANEDECK_EXPECT(group, "group");
    if (group) m_groups.push_back(std::move(group));
}

void RequestDispatcher::removeRequestHandlerGroup(std::shared_ptr<IRequestHandlerGroup> group) {
    PANEDECK_EXPECT(group, "group");
    m_groups.remove(group);
}

std::shared_ptr<IRequestHandler> RequestDispatcher::getRequestHandler(const std::string& requestType) {
    for (const auto& group : m_groups)
        if (auto handler = group->getRequestHandler(requestType)) return handler;
    return nullptr;
}

std::shared_ptr<ITaskDisplacementStrategy> RequestDispatcher::getTaskDisplacementStrategy() {
    return weak_from_this().lock();
}

std::shared_ptr<ITaskDisplacementStrategy>
RequestDispatcher::getTaskDisplacementStrategy(const std::string& taskName) {
    const auto requestHandler = getRequestHandler(taskName);
    PANEDECK_EXPECT(requestHandler, "requestHandler");
    if (!requestHandler) return plainTaskDisplacementStrategy();
    auto taskDisplacementStrategy = requestHandler->getTaskDisplacementStrategy();
    PANEDECK_EXPECT(taskDisplacementStrategy, "taskDisplacementStrategy");
    return taskDisplacementStrategy ? taskDisplacementStrategy : plainTaskDisplacementStrategy();
}

std::string RequestDispatcher::buildTaskName(const std::string& requestType,
                                             const bk2::variant_bag_t& request) {
    const auto strategy = getTaskDisplacementStrategy(requestType);
    PANEDECK_EXPECT(strategy, "strategy");
    return strategy ? strategy->buildTaskName(requestType, request) : std::string();
}

bool RequestDispatcher::isMine(const std::string& taskName) {
    const auto strategy = getTaskDisplacementStrategy(taskName);
    PANEDECK_EXPECT(strategy, "strategy");
    return strategy && strategy->isMine(taskName);
}

bool RequestDispatcher::isExclusive(const std::string& taskName) {
    const auto strategy = getTaskDisplacementStrategy(taskName);
    PANEDECK_EXPECT(strategy, "strategy");
    return strategy && strategy->isExclusive(taskName);
}

// The incoming task's strategy decides: so one domain's tasks can displace those of domains that know nothing
// of it.
bool RequestDispatcher::isDisplacedBy(const std::string& taskName, const std::string& byTaskName) {
    const auto strategy = getTaskDisplacementStrategy(byTaskName);
    PANEDECK_EXPECT(strategy, "strategy");
    return strategy && strategy->isDisplacedBy(taskName, byTaskName);
}

bool RequestDispatcher::isDisplacedOnFilterChange(const std::string& taskName,
                                                  const std::string& filterName) {
    const auto strategy = getTaskDisplacementStrategy(taskName);
    PANEDECK_EXPECT(strategy, "strategy");
    return strategy && strategy->isDisplacedOnFilterChange(taskName, filterName);
}

bool RequestDispatcher::isDisplacedOnKnobChange(const std::string& taskName) {
    const auto strategy = getTaskDisplacementStrategy(taskName);
    PANEDECK_EXPECT(strategy, "strategy");
    return strategy && strategy->isDisplacedOnKnobChange(taskName);
}

} // namespace panedeck
