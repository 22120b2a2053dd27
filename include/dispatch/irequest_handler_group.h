#pragma once

#include "basekit/api.h"
#include "dispatch/irequest_handler.h"

#include <memory>
#include <string>

namespace panedeck {

/// A set of request handlers that a host adds to a dispatcher and takes away as a whole. All operations are
/// safe from any thread; the group's lock is held for the lookup only, never during a handler's work.
class PANEDECK_API IRequestHandlerGroup {
public:
    static std::shared_ptr<IRequestHandlerGroup> create();

    /// Adds a handler under its domain name. A second handler of a domain replaces the first, which is logged
    /// as an assertion; so is an empty pointer, which is ignored.
    virtual void addRequestHandler(const std::shared_ptr<IRequestHandler>& handler) = 0;

    /// Empties the group. A handler that is at work lives on until it is done.
    virtual void removeRequestHandlers() = 0;

    /// The handler of the domain of `requestType`, or an empty pointer.
    virtual std::shared_ptr<IRequestHandler> getRequestHandler(const std::string& requestType) = 0;

    virtual ~IRequestHandlerGroup();
};

} // namespace panedeck
