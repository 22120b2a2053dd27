#pragma once

#include "basekit/sptr.h"
#include "dispatch/irequest_handler.h"
#include "dispatch/itask_request_handler.h"
#include "dispatch/request_task.h"
#include "transport/isocket_client.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace panedeck::host {

/// One request from its arrival to its end: serves it on its task's thread, and sees to it that its id gets
/// exactly one final answer.
///
/// Several may want to give that answer: the task its result or its failure, a cancel `canceled`. One atomic
/// state decides: who closes the request first answers it, and everything later for that id is dropped.
///
/// Lives until its task has finished. The properties never change; `cancel` and `abandon` are safe from any
/// thread.
class ScheduledRequest : public ITaskRequestHandler {
public:
    /// Takes the content of `request`. An empty `requestId` means a request without an id: its result is sent
    /// without one, and nothing else is ever told of it.
    ScheduledRequest(std::string taskName, std::string requestId, std::string requestType,
                     bk2::variant_bag_t& request, std::shared_ptr<IRequestHandler> dispatcher,
                     bk2::sptr_t<ISocketClient> client);

    /// `begun` is called when a thread takes the request up. To be set before the task is started.
    void onBegin(std::function<void()> begun) { m_begun = std::move(begun); }

    const std::string& taskName() const { return m_taskName; }
    const std::string& requestId() const { return m_requestId; }
    /// The grid that a request of the grid view means: one that names none means the grid "". Nothing for all
    /// other requests.
    const std::optional<std::string>& gridId() const { return m_gridId; }
    /// See `isChangingRequest`.
    bool isChanging() const { return m_changing; }
    const bk2::sptr_t<RequestTask>& task() const { return m_task; }

    /// False once the final answer was sent or is being sent.
    bool isOpen() const { return !m_closed.load(); }

    /// Answers `canceled` at once, unless an answer was given before, and asks the task to stop.
    void cancel();

    /// Gives up the answer, for an asker that is gone, and asks the task to stop; a changing one runs to its
    /// end.
    void abandon();

    bk2::error_code_t handleTaskRequest(const char* requestId, const char* requestType,
                                        bk2::variant_bag_t& request,
                                        notifykit2::IProgress* progress) override;
    bk2::error_code_t reportTaskError(const char* requestId, const bk2::error_code_t& error) override;

private:
    /// True for the first caller only, who thereby owes the answer.
    bool close() { return !m_closed.exchange(true); }
    bk2::error_code_t dispatch(const char* requestType, const bk2::variant_bag_t& request,
                               bk2::variant_bag_t& response, notifykit2::IProgress* progress);

    const std::string m_taskName;
    const std::string m_requestId;
    const std::optional<std::string> m_gridId;
    const bool m_changing;
    const std::shared_ptr<IRequestHandler> m_dispatcher;
    const bk2::sptr_t<ISocketClient> m_client;
    std::atomic<bool> m_closed{false};
    bool m_closedByTask = false; ///< used on the task's thread only
    bk2::sptr_t<RequestTask> m_task;
    std::function<void()> m_begun;
};

} // namespace panedeck::host
