#pragma once

#include "basekit/api.h"
#include "basekit/error_code.h"
#include "basekit/variant_bag.h"
#include "dispatch/itask_displacement_strategy.h"
#include "notifykit/progress.h"

#include <memory>
#include <string>

namespace panedeck {

/// Answers the requests of one domain. Held by `std::shared_ptr` in its group; every operation may be called
/// from several threads at the same time.
class PANEDECK_API IRequestHandler {
public:
    /// The domain that this handler answers to: what stands ahead of the first ":" of a request type. Never
    /// changes.
    virtual std::string getDomainName() = 0;

    /// Names the task that will serve a request, by the handler's displacement strategy; without a strategy
    /// `taskName` stays as it is, which is no failure.
    virtual bk2::error_code_t buildTaskName(const std::string& requestType, const bk2::variant_bag_t& request,
                                            std::string& taskName);

    /// Serves one request. `operation` is the request type behind the first ":", `request` the whole request
    /// with its `id` and `type`; `response` comes in empty. `progress` may be null; long work polls it and
    /// gives back the cancelled error. Whatever is to outlive the call must be copied out of `request`.
    virtual bk2::error_code_t handleRequest(const std::string& operation, const bk2::variant_bag_t& request,
                                            bk2::variant_bag_t& response,
                                            notifykit2::IProgress* progress) = 0;

    /// By default the one plain strategy of the process, under which nothing displaces anything.
    virtual std::shared_ptr<ITaskDisplacementStrategy> getTaskDisplacementStrategy();

    virtual ~IRequestHandler();
};

} // namespace panedeck
