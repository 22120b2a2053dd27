#include "scheduler/request_scheduler.h"

#include "logkit/component_logger.h"

#include <algorithm>
#include <utility>

namespace panedeck::host {

/// A request with the scheduler's bookkeeping. An entry waits until all earlier ones that block it have left,
/// is then handed to the task system, and leaves when its task has finished or when it is cancelled while it
/// waits.
struct RequestScheduler::entry_t {
    std::shared_ptr<ScheduledRequest> request;
    bool exclusive = false;

    bool waiting = true;
    bool left = false;
    std::size_t blockers = 0;            ///< how many entries must leave first
    std::vector<entry_ptr_t> dependents; ///< later entries that wait for this one
    std::list<entry_ptr_t>::iterator position;
};

RequestScheduler::RequestScheduler(std::shared_ptr<IRequestDispatcher> dispatcher,
                                   bk2::sptr_t<ISocketClient> client, bk2::task_system_t& tasks)
    : m_dispatcher(std::move(dispatcher)), m_strategy(m_dispatcher->getTaskDisplacementStrategy()),
      m_client(std::move(client)), m_tasks(tasks) {}

RequestScheduler::~RequestScheduler() {
    disconnect_all();
}

bk2::error_code_t RequestScheduler::schedule(const char* requestId, const char* requestType,
                                             bk2::variant_bag_t& request) {
    const auto entry = makeEntry(requestId, requestType, request);
    actions_t actions;
    switch (admit(entry, actions)) {
    case admission_t::stopped:
        return bk2::error_code_t::raise(bk2::kinds::failed_to_process_this_operation, "The host is stopping");
    case admission_t::duplicate:
        return refuseDuplicate(entry->request->requestId());
    case admission_t::admitted:
        carryOut(actions);
    }
    return bk2::error_code_t::success();
}

RequestScheduler::admission_t RequestScheduler::admit(const entry_ptr_t& entry, actions_t& actions) {
    std::lock_guard lock(m_mutex);
    if (m_stopped) return admission_t::stopped;
    if (isIdOpen(entry->request->requestId())) return admission_t::duplicate;
    doomWhere([&](const entry_t& earlier) { return displaces(*entry, earlier); }, actions);
    enqueue(entry, actions);
    return admission_t::admitted;
}

RequestScheduler::entry_ptr_t RequestScheduler::makeEntry(const char* requestId, const char* requestType,
                                                          bk2::variant_bag_t& request) {
    auto entry = std::make_shared<entry_t>();
    const std::string id = requestId ? requestId : "";
    const std::string type = requestType ? requestType : "";
    auto taskName = m_strategy->buildTaskName(type, request);
    entry->exclusive = m_strategy->isExclusive(taskName);
    entry->request =
        std::make_shared<ScheduledRequest>(std::move(taskName), id, type, request, m_dispatcher, m_client);
    entry->request->task()->finished().connect(*this, [this, weak = std::weak_ptr(entry)] {
        if (const auto finished = weak.lock()) onFinished(finished);
    });
    return entry;
}

bool RequestScheduler::displaces(const entry_t& later, const entry_t& earlier) const {
    const auto& one = later.request->gridId();
    const auto& other = earlier.request->gridId();
    if (one && other && *one != *other) return false;
    return m_strategy->isDisplacedBy(earlier.request->taskName(), later.request->taskName());
}

bool RequestScheduler::waitsFor(const entry_t& later, const entry_t& earlier) const {
    if (later.request->isChanging() && earlier.request->isChanging()) return true;
    if (later.exclusive && displaces(later, earlier)) return true;
    return earlier.exclusive && displaces(earlier, later);
}

bool RequestScheduler::isIdOpen(const std::string& requestId) const {
    const auto known = m_byId.find(requestId);
    return known != m_byId.end() && known->second->request->isOpen();
}

bk2::error_code_t RequestScheduler::refuseDuplicate(const std::string& requestId) const {
    const auto error = bk2::error_code_t::raise(bk2::kinds::is_not_valid_parameter,
                                                "A request with this id is still open: " + requestId);
    logkit1::log(logkit1::level_t::error, error.as_string());
    return m_client->sendErrorResponse(nullptr, error);
}

void RequestScheduler::enqueue(const entry_ptr_t& entry, actions_t& actions) {
    for (const auto& earlier : m_entries) {
        if (!waitsFor(*entry, *earlier)) continue;
        earlier->dependents.push_back(entry);
        ++entry->blockers;
    }
    entry->position = m_entries.insert(m_entries.end(), entry);
    if (!entry->request->requestId().empty()) m_byId[entry->request->requestId()] = entry;
    if (entry->blockers > 0) return;
    entry->waiting = false;
    actions.ready.push_back(entry);
}

template <class Condition>
void RequestScheduler::doomWhere(Condition condition, actions_t& actions) {
    std::vector<entry_ptr_t> doomed;
    std::copy_if(m_entries.begin(), m_entries.end(), std::back_inserter(doomed),
                 [&](const entry_ptr_t& entry) { return condition(*entry); });
    for (const auto& entry : doomed)
        doom(entry, actions);
}

// A waiting entry leaves at once: nothing but this scheduler knows its task. Any other leaves when its task
// says so.
void RequestScheduler::doom(const entry_ptr_t& entry, actions_t& actions) {
    actions.canceled.push_back(entry);
    if (entry->waiting) leave(entry, actions);
}

void RequestScheduler::leave(const entry_ptr_t& entry, actions_t& actions) {
    if (std::exchange(entry->left, true)) return;
    entry->waiting = false;
    m_entries.erase(entry->position);
    const auto known = m_byId.find(entry->request->requestId());
    if (known != m_byId.end() && known->second == entry) m_byId.erase(known);
    for (const auto& dependent : std::exchange(entry->dependents, {})) {
        if (--dependent->blockers > 0 || !dependent->waiting) continue;
        dependent->waiting = false;
        actions.ready.push_back(dependent);
    }
}

// Cancels come first, so that `canceled` is out before anything of a later request.
void RequestScheduler::carryOut(const actions_t& actions) {
    for (const auto& entry : actions.canceled)
        entry->request->cancel();
    for (const auto& entry : actions.ready)
        start(entry);
}

void RequestScheduler::start(const entry_ptr_t& entry) {
    // A refusal means that the task system has stopped: the task then never runs, and only its answer is
    // owed.
    if (m_tasks.start(entry->request->task())) return;
    entry->request->cancel();
    onFinished(entry);
}

void RequestScheduler::onFinished(const entry_ptr_t& entry) {
    actions_t actions;
    {
        std::lock_guard lock(m_mutex);
        leave(entry, actions);
    }
    carryOut(actions);
}

void RequestScheduler::cancelRequest(const std::string& requestId) {
    actions_t actions;
    {
        std::lock_guard lock(m_mutex);
        if (isIdOpen(requestId)) doom(entry_ptr_t(m_byId[requestId]), actions);
    }
    carryOut(actions);
}

void RequestScheduler::onFilterChanged(const std::string& filterName) {
    actions_t actions;
    {
        std::lock_guard lock(m_mutex);
        doomWhere(
            [&](const entry_t& entry) {
                return m_strategy->isDisplacedOnFilterChange(entry.request->taskName(), filterName);
            },
            actions);
    }
    carryOut(actions);
}

void RequestScheduler::onKnobChanged() {
    actions_t actions;
    {
        std::lock_guard lock(m_mutex);
        doomWhere(
            [&](const entry_t& entry) {
                return m_strategy->isDisplacedOnKnobChange(entry.request->taskName());
            },
            actions);
    }
    carryOut(actions);
}

void RequestScheduler::abandonRequests() {
    std::vector<entry_ptr_t> abandoned;
    {
        std::lock_guard lock(m_mutex);
        abandoned.assign(m_entries.begin(), m_entries.end());
    }
    for (const auto& entry : abandoned)
        entry->request->abandon();
}

void RequestScheduler::stop() {
    actions_t actions;
    {
        std::lock_guard lock(m_mutex);
        m_stopped = true;
        doomWhere([](const entry_t&) { return true; }, actions);
    }
    carryOut(actions);
}

} // namespace panedeck::host
