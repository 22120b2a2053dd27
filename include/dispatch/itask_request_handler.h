#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/variant_bag.h"
#include "notifykit/progress.h"

namespace panedeck {

/// The host's side of a `RequestTask`: serves the request and reports its failure. Called on a thread of the
/// queue "service".
class PANEDECK_API ITaskRequestHandler {
public:
    /// Serves the request and sends its answer. `requestId` is null for a request without an id. A failure
    /// goes to `reportTaskError`.
    virtual bk2::error_code_t handleTaskRequest(const char* requestId, const char* requestType,
                                                bk2::variant_bag_t& request,
                                                notifykit2::IProgress* progress) = 0;

    /// Tells the front end that a request has failed. `requestId` is never null.
    virtual bk2::error_code_t reportTaskError(const char* requestId, const bk2::error_code_t& error) = 0;

    virtual ~ITaskRequestHandler();
};

} // namespace panedeck
