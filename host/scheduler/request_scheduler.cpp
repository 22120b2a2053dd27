#include "scheduler/request_scheduler.h"

#include "logkit/component_logger.h"

#include <algorithm>
#include <utility>

namespace panedeck::host {

using state_t = scheduler_entry_t::state_t;

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
    case admission_t::tooMany:
        return bk2::error_code_t::raise(bk2::kinds::failed_to_process_this_operation,
                                        "Too many requests wait: at most " + std::to_string(mostWaiting) +
                                            " may");
    case admission_t::admitted:
        carryOut(actions);
    }
    return bk2::error_code_t::success();
}

RequestScheduler::admission_t RequestScheduler::admit(const entry_ptr_t& entry, actions_t& actions) {
    std::lock_guard lock(m_mutex);
    if (m_stopped) return admission_t::stopped;
    if (isIdOpen(entry->request->requestId())) return admission_t::duplicate;
    if (m_waiting >= mostWaiting) return admission_t::tooMany;
    const subject_t subject = subjectOf(*entry);
    doomWhere([&](const subject_t& earlier) { return displaces(subject, earlier); }, actions);
    enqueue(entry, actions);
    return admission_t::admitted;
}

entry_ptr_t RequestScheduler::makeEntry(const char* requestId, const char* requestType,
                                        bk2::variant_bag_t& request) {
    auto entry = std::make_shared<scheduler_entry_t>();
    const std::string id = requestId ? requestId : "";
    const std::string type = requestType ? requestType : "";
    auto taskName = m_strategy->buildTaskName(type, request);
    entry->exclusive = m_strategy->isExclusive(taskName);
    entry->request =
        std::make_shared<ScheduledRequest>(std::move(taskName), id, type, request, m_dispatcher, m_client);
    entry->request->onBegin([this, weak = std::weak_ptr(entry)] {
        if (const auto begun = weak.lock()) onBegin(*begun);
    });
    entry->request->task()->finished().connect(*this, [this, weak = std::weak_ptr(entry)] {
        if (const auto finished = weak.lock()) onFinished(finished);
    });
    return entry;
}

RequestScheduler::subject_t RequestScheduler::subjectOf(const scheduler_entry_t& entry) {
    return {entry.request->taskName(), entry.request->gridId()};
}

bool RequestScheduler::displaces(const subject_t& later, const subject_t& earlier) const {
    if (later.second && earlier.second && *later.second != *earlier.second) return false;
    return m_strategy->isDisplacedBy(earlier.first, later.first);
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

std::vector<entry_ptr_t> RequestScheduler::blockersOf(const scheduler_entry_t& entry) const {
    std::vector<entry_ptr_t> blockers;
    const subject_t subject = subjectOf(entry);
    for (const auto& [earlier, group] : m_groups) {
        const bool blocks = (entry.exclusive && displaces(subject, earlier)) ||
                            (group.begin()->second->exclusive && displaces(earlier, subject));
        if (!blocks) continue;
        for (const auto& [number, blocker] : group)
            blockers.push_back(blocker);
    }
    return blockers;
}

void RequestScheduler::enqueue(const entry_ptr_t& entry, actions_t& actions) {
    const auto blockers = blockersOf(*entry);
    entry->number = ++m_lastNumber;
    ++m_waiting;
    m_groups[subjectOf(*entry)].emplace(entry->number, entry);
    if (!entry->request->requestId().empty()) m_byId[entry->request->requestId()] = entry;
    m_order.enter(entry, blockers, actions.ready);
}

template <class Condition>
void RequestScheduler::doomWhere(Condition condition, actions_t& actions) {
    group_t doomed;
    for (const auto& [subject, group] : m_groups)
        if (condition(subject)) doomed.insert(group.begin(), group.end());
    for (const auto& [number, entry] : doomed)
        doom(entry, actions);
}

// A waiting entry leaves at once: nothing but this scheduler knows its task. Any other leaves when its task
// says so.
void RequestScheduler::doom(const entry_ptr_t& entry, actions_t& actions) {
    actions.canceled.push_back(entry);
    if (entry->state == state_t::waiting) leave(entry, actions);
}

void RequestScheduler::leave(const entry_ptr_t& entry, actions_t& actions) {
    if (entry->state == state_t::left) return;
    begin(*entry);
    m_order.leave(entry, actions.ready);
    const auto group = m_groups.find(subjectOf(*entry));
    group->second.erase(entry->number);
    if (group->second.empty()) m_groups.erase(group);
    const auto known = m_byId.find(entry->request->requestId());
    if (known != m_byId.end() && known->second == entry) m_byId.erase(known);
}

/// The entry waits no more, whatever became of it.
void RequestScheduler::begin(scheduler_entry_t& entry) {
    if (!std::exchange(entry.begun, true)) --m_waiting;
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

void RequestScheduler::onBegin(scheduler_entry_t& entry) {
    std::lock_guard lock(m_mutex);
    begin(entry);
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
            [&](const subject_t& subject) {
                return m_strategy->isDisplacedOnFilterChange(subject.first, filterName);
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
            [&](const subject_t& subject) { return m_strategy->isDisplacedOnKnobChange(subject.first); },
            actions);
    }
    carryOut(actions);
}

void RequestScheduler::abandonRequests() {
    std::vector<entry_ptr_t> abandoned;
    {
        std::lock_guard lock(m_mutex);
        for (const auto& [subject, group] : m_groups)
            for (const auto& [number, entry] : group)
                abandoned.push_back(entry);
    }
    for (const auto& entry : abandoned)
        entry->request->abandon();
}

void RequestScheduler::stop() {
    actions_t actions;
    {
        std::lock_guard lock(m_mutex);
        m_stopped = true;
        doomWhere([](const subject_t&) { return true; }, actions);
    }
    carryOut(actions);
}

} // namespace panedeck::host
