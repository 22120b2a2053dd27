#pragma once

#include "basekit/api.h"
#include "dispatch/irequest_handler.h"
#include "dispatch/irequest_handler_group.h"

#include <memory>

namespace panedeck {

/// Routes each request to the handler of its domain, and each displacement question to that handler's
/// strategy.
///
/// As an `IRequestHandler` the dispatcher has an empty domain name and takes whole request types:
///
///     auto dispatcher = IRequestDispatcher::create();
///     dispatcher->addRequestHandler(createOptionsRequestHandler(false));
///     error = dispatcher->handleRequest("options:get", request, response, progress);
///
/// `handleRequest` fails with `IsNot.Valid.Parameter` and the request type as its message if no handler
/// answers to the domain; failures of handlers pass through unchanged. `getTaskDisplacementStrategy` gives
/// the dispatcher's own strategy, which forwards each question to the strategy of the handler concerned: that
/// of the incoming task for `isDisplacedBy`, that of the task itself for the others. For a task without a
/// handler the plain strategy answers.
///
/// Requests and questions may come from several threads at the same time. Groups are searched in the order of
/// adding, the default group first, so a domain that two groups have is answered by the earlier one. The list
/// of groups has no lock: add and remove groups only while no request is being routed.
class PANEDECK_API IRequestDispatcher : public IRequestHandler {
public:
    static std::shared_ptr<IRequestDispatcher> create();

    /// Adds a handler to the default group, see `IRequestHandlerGroup::addRequestHandler`.
    virtual void addRequestHandler(const std::shared_ptr<IRequestHandler>& handler) = 0;

    /// Appends a group. An empty pointer is logged as an assertion and ignored.
    virtual void addRequestHandlerGroup(std::shared_ptr<IRequestHandlerGroup> group) = 0;

    /// Removes every entry of this group. An empty pointer is logged as an assertion.
    virtual void removeRequestHandlerGroup(std::shared_ptr<IRequestHandlerGroup> group) = 0;

    ~IRequestDispatcher() override;
};

} // namespace panedeck
