#pragma once

#include "dispatch/irequest_handler_group.h"

#include <mutex>
#include <unordered_map>

namespace panedeck {

/// See `IRequestHandlerGroup`.
class RequestHandlerGroup : public IRequestHandlerGroup {
public:
    void addRequestHandler(const std::shared_ptr<IRequestHandler>& handler) override;
    void removeRequestHandlers() override;
    std::shared_ptr<IRequestHandler> getRequestHandler(const std::string& requestType) override;

private:
    using handlers_t = std::unordered_map<std::string, std::shared_ptr<IRequestHandler>>;

    std::mutex m_mutex;
    handlers_t m_handlers; ///< by domain name; under m_mutex
};

} // namespace panedeck
