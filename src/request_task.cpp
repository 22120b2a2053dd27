#include "dispatch/request_task.h"

#include "basekit/assertion.h"
#include "basekit/task_system.h"
#include "logkit/component_logger.h"

#include <memory>

namespace panedeck {

namespace {

void logTask(const char* what, const std::string& requestId) {
    if (!logkit1::is_enabled_for(logkit1::level_t::info)) return;
    logkit1::log(logkit1::level_t::info, what + requestId);
}

} // namespace

ITaskRequestHandler::~ITaskRequestHandler() = default;

RequestTask::RequestTask(const std::string& taskName, const char* requestId, const char* requestType,
                         bk2::variant_bag_t* requestBag, ITaskRequestHandler* handler)
    : m_requestHandler(handler), m_progress(notifykit2::IDevNullProgress::create()),
      m_requestId(requestId ? requestId : ""), m_requestType(requestType ? requestType : ""),
      m_displayName(taskName) {
    push_finalization_stage(
        std::make_unique<bk2::task_stage_t>(bk2::queue_names::service, [this] { doTask(); }));
    set_flags(bk2::tf_run_once);
    PANEDECK_EXPECT(requestBag, "requestBag");
    if (requestBag) m_request.swap(*requestBag);
}

RequestTask::~RequestTask() = default;

void RequestTask::cancel() {
    logTask("Task canceled, requestId=", m_requestId);
    if (m_progress) m_progress->cancel();
    default_task_t::cancel();
}

std::string RequestTask::get_display_name() const {
    return m_displayName;
}

void RequestTask::doTask() {
    logTask("Executing task with requestId=", m_requestId);
    PANEDECK_EXPECT(m_requestHandler, "m_requestHandler");
    if (!m_requestHandler) return;
    const char* const requestId = m_requestId.empty() ? nullptr : m_requestId.c_str();
    const auto result =
        m_requestHandler->handleTaskRequest(requestId, m_requestType.c_str(), m_request, m_progress.get());
    if (result.failed() && requestId) {
        const auto reported = m_requestHandler->reportTaskError(requestId, result);
        PANEDECK_EXPECT(reported.succeeded(), "reported.succeeded()");
    }
    logTask("Task finished with requestId=", m_requestId);
}

} // namespace panedeck
