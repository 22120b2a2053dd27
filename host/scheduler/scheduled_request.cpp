#include "scheduler/scheduled_request.h"

#include "dispatch/request_type.h"
#include "logkit/component_logger.h"
#include "scheduler/changing_requests.h"

#include <exception>
#include <string_view>
#include <utility>

namespace panedeck::host {

namespace {

// By the task name: what goes by the name of a grid view request, such as a download, is one.
std::optional<std::string> gridIdOf(const std::string& taskName, const bk2::variant_bag_t& request) {
    if (splitRequestType(taskName).domain != "gridview") return std::nullopt;
    const auto* value = request.get_own_value("gridid");
    return value ? std::string(value->text()) : std::string();
}

} // namespace

ScheduledRequest::ScheduledRequest(std::string taskName, std::string requestId, std::string requestType,
                                   bk2::variant_bag_t& request, std::shared_ptr<IRequestHandler> dispatcher,
                                   bk2::sptr_t<ISocketClient> client)
    : m_taskName(std::move(taskName)), m_requestId(std::move(requestId)),
      m_gridId(gridIdOf(m_taskName, request)), m_changing(isChangingRequest(requestType)),
      m_dispatcher(std::move(dispatcher)), m_client(std::move(client)),
      m_task(bk2::make_sptr<RequestTask>(m_taskName, m_requestId.c_str(), requestType.c_str(), &request,
                                         this)) {}

void ScheduledRequest::cancel() {
    if (close() && !m_requestId.empty()) {
        const auto error = m_client->notifyRequestCancel(m_requestId.c_str());
        if (error.failed()) logkit1::log(logkit1::level_t::info, "Cancel not told: " + error.as_string());
    }
    m_task->cancel();
}

void ScheduledRequest::abandon() {
    close();
    if (!m_changing) m_task->cancel();
}

bk2::error_code_t ScheduledRequest::handleTaskRequest(const char* requestId, const char* requestType,
                                                      bk2::variant_bag_t& request,
                                                      notifykit2::IProgress* progress) {
    if (m_begun) m_begun();
    bk2::variant_bag_t response;
    const auto result = dispatch(requestType, request, response, progress);
    if (result.failed()) return result;
    if (!close()) return bk2::error_code_t::success();
    m_closedByTask = true;
    return m_client->sendResponse(requestId, requestType, &response);
}

// An answer that could not be sent, such as one that is too large, was closed by the task itself, which still
// owes one.
bk2::error_code_t ScheduledRequest::reportTaskError(const char* requestId, const bk2::error_code_t& error) {
    if (!m_closedByTask && !close()) return bk2::error_code_t::success();
    return error.is_canceled() ? m_client->notifyRequestCancel(requestId)
                               : m_client->sendErrorResponse(requestId, error);
}

// Handlers do not throw on purpose; but memory may run out, and one request is not worth the process.
bk2::error_code_t ScheduledRequest::dispatch(const char* requestType, const bk2::variant_bag_t& request,
                                             bk2::variant_bag_t& response, notifykit2::IProgress* progress) {
    try {
        return m_dispatcher->handleRequest(requestType, request, response, progress);
    } catch (const std::exception& failure) {
        logkit1::log(logkit1::level_t::error,
                     std::string("Exception in request ") + requestType + ": " + failure.what());
        return bk2::error_code_t::raise(bk2::kinds::failed_to_process_this_operation, failure.what());
    }
}

} // namespace panedeck::host
