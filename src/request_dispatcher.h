#pragma once

#include "dispatch/irequest_dispatcher.h"

#include <list>

namespace panedeck {

/// See `IRequestDispatcher`. It is its own displacement strategy, so it must be held by a shared pointer.
class RequestDispatcher : public IRequestDispatcher,
                          public ITaskDisplacementStrategy,
                          public std::enable_shared_from_this<RequestDispatcher> {
public:
    RequestDispatcher();

    std::string getDomainName() override;
    using IRequestHandler::buildTaskName;
    bk2::error_code_t handleRequest(const std::string& requestType, const bk2::variant_bag_t& request,
                                    bk2::variant_bag_t& response, notifykit2::IProgress* progress) override;
    std::shared_ptr<ITaskDisplacementStrategy> getTaskDisplacementStrategy() override;

    void addRequestHandler(const std::shared_ptr<IRequestHandler>& handler) override;
    void addRequestHandlerGroup(std::shared_ptr<IRequestHandlerGroup> group) override;
    void removeRequestHandlerGroup(std::shared_ptr<IRequestHandlerGroup> group) override;

    std::string buildTaskName(const std::string& requestType, const bk2::variant_bag_t& request) override;
    bool isMine(const std::string& taskName) override;
    bool isExclusive(const std::string& taskName) override;
    bool isDisplacedBy(const std::string& taskName, const std::string& byTaskName) override;
    bool isDisplacedOnFilterChange(const std::string& taskName, const std::string& filterName) override;
    bool isDisplacedOnKnobChange(const std::string& taskName) override;

private:
    std::shared_ptr<IRequestHandler> getRequestHandler(const std::string& requestType);
    /// The strategy of the handler that the name's domain belongs to; the plain one if there is none.
    std::shared_ptr<ITaskDisplacementStrategy> getTaskDisplacementStrategy(const std::string& taskName);

    std::shared_ptr<IRequestHandlerGroup> m_defaultGroup;
    std::list<std::shared_ptr<IRequestHandlerGroup>> m_groups; ///< begins with the default group
};

} // namespace panedeck
