#include "request_handler_group.h"

#include "basekit/assertion.h"
#include "dispatch/request_type.h"

namespace panedeck {

IRequestHandlerGroup::~IRequestHandlerGroup() = default;

std::shared_ptr<IRequestHandlerGroup> IRequestHandlerGroup::create() {
    return std::make_shared<RequestHandlerGroup>();
}

void RequestHandlerGroup::addRequestHandler(const std::shared_ptr<IRequestHandler>& handler) {
    PANEDECK_EXPECT(handler, "handler");
    if (!handler) return;
    const auto domain = handler->getDomainName();
    PANEDECK_EXPECT(!getRequestHandler(domain), "!getRequestHandler(handler->getDomainName())");
    std::shared_ptr<IRequestHandler> replaced = handler;
    std::lock_guard lock(m_mutex);
    m_handlers[domain].swap(replaced);
}

void RequestHandlerGroup::removeRequestHandlers() {
    // Handlers are destroyed outside the lock.
    handlers_t removed;
    std::lock_guard lock(m_mutex);
    removed.swap(m_handlers);
}

std::shared_ptr<IRequestHandler> RequestHandlerGroup::getRequestHandler(const std::string& requestType) {
    const std::string domain(splitRequestType(requestType).domain);
    std::lock_guard lock(m_mutex);
    const auto found = m_handlers.find(domain);
    return found == m_handlers.end() ? nullptr : found->second;
}

} // namespace panedeck
