#pragma once

#include "basekit/api.h"
#include "basekit/default_task.h"
#include "basekit/signal.h"
#include "basekit/sptr.h"
#include "basekit/variant_bag.h"
#include "dispatch/itask_request_handler.h"
#include "notifykit/progress.h"

#include <string>

namespace panedeck {

/// Runs one request on the queue "service": keeps what the request needs and hands it to the host's
/// `ITaskRequestHandler` when a thread of the queue takes it up. Every request uses that queue; nothing in a
/// request selects another one.
///
/// The task does not own its handler, which must live until the task has finished. Nothing but the progress
/// object and the state of the base changes after construction, so that `cancel` is safe from any thread.
class PANEDECK_API RequestTask : public bk2::default_task_t, public bk2::subscriber_base_t {
public:
    /// `taskName` becomes the display name. A null `requestId` means a request without an id; a null
    /// `requestType` an empty type. The contents of `requestBag` are taken by swapping, so that the caller's
    /// bag comes back empty; a null one is logged as an assertion and stands for an empty request.
    RequestTask(const std::string& taskName, const char* requestId, const char* requestType,
                bk2::variant_bag_t* requestBag, ITaskRequestHandler* handler);
    ~RequestTask() override;

    /// Cancels the progress object that the handler watches, then the task itself.
    void cancel() override;

    /// The task name.
    std::string get_display_name() const override;

protected:
    /// The stage: serves the request, and reports its failure if the request has an id.
    virtual void doTask();

private:
    ITaskRequestHandler* m_requestHandler; ///< not owned
    bk2::sptr_t<notifykit2::IProgress> m_progress;
    std::string m_requestId;
    std::string m_requestType;
    bk2::variant_bag_t m_request;
    std::string m_displayName;
};

} // namespace panedeck
