#pragma once

#include "basekit/error_code.h"
#include "basekit/signal.h"
#include "basekit/sptr.h"
#include "basekit/task_system.h"
#include "basekit/variant_bag.h"
#include "dispatch/irequest_dispatcher.h"
#include "scheduler/start_order.h"
#include "transport/isocket_client.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

namespace panedeck::host {

/// Decides when each request runs and which ones are cancelled.
///
/// - A new request cancels what it displaces, by the answers of the dispatcher's strategy. Between two
///   requests of the grid view it does so only on the same grid: after a data change all grids refresh at
///   once, and none must cancel the others.
/// - An exclusive request starts when everything that it displaces has left its thread, and later requests
///   that it would displace wait for its end. All others run on, so that no refresh waits behind an open file
///   dialog.
/// - Changing requests run one at a time, in the order in which they came.
/// - Of one grid's requests only a few run at a time, so that a busy grid leaves threads to the others.
/// - A change of a filter or a knob cancels what it makes obsolete.
/// - At most `mostWaiting` requests wait; beyond that a request is refused.
///
/// A request waits for earlier ones only, so nothing waits in a circle; and it waits here, never on a thread
/// of the queue. No operation but `stop` ever waits for a request, so all may be called on the I/O thread or
/// by a handler that holds locks. Safe from any thread. Each request id gets exactly one final answer, see
/// `ScheduledRequest`. Time and memory for a request do not grow with the number of those that wait, but with
/// the number of their different task names.
class RequestScheduler : private bk2::subscriber_base_t {
public:
    /// Not counting those that have begun.
    static constexpr std::size_t mostWaiting = 10'000;

    /// `tasks` outlives the scheduler.
    RequestScheduler(std::shared_ptr<IRequestDispatcher> dispatcher, bk2::sptr_t<ISocketClient> client,
                     bk2::task_system_t& tasks);
    /// The task system was stopped before.
    ~RequestScheduler();

    /// Takes a request in. `request` is taken by swapping. A failure means that nothing else will answer: too
    /// many requests wait, or the scheduler has been stopped. A request whose id is still open is not served,
    /// since one id cannot have two answers; that is told in an `error` response without id.
    bk2::error_code_t schedule(const char* requestId, const char* requestType, bk2::variant_bag_t& request);

    /// Cancels a request; does nothing if its id is unknown or answered.
    void cancelRequest(const std::string& requestId);

    /// Cancels what the change of the named filter, or of a knob, makes obsolete.
    void onFilterChanged(const std::string& filterName);
    void onKnobChanged();

    /// Whoever sent the present requests is gone: gives up their answers and stops what does not change
    /// anything.
    void abandonRequests();

    /// Takes no more requests and cancels all that are here. The tasks may still be running when it returns.
    void stop();

private:
    /// What is to be done once the lock is free: cancels and starts call out.
    struct actions_t {
        std::vector<entry_ptr_t> canceled;
        std::vector<entry_ptr_t> ready;
    };

    /// What the displacement of a request depends on: its task name and its grid.
    using subject_t = std::pair<std::string, std::optional<std::string>>;
    using group_t = std::map<std::uint64_t, entry_ptr_t>; ///< by number

    enum class admission_t { admitted, duplicate, tooMany, stopped };

    entry_ptr_t makeEntry(const char* requestId, const char* requestType, bk2::variant_bag_t& request);
    static subject_t subjectOf(const scheduler_entry_t& entry);
    bool displaces(const subject_t& later, const subject_t& earlier) const;
    bk2::error_code_t refuseDuplicate(const std::string& requestId) const;

    // All of these are called under the lock.
    bool isIdOpen(const std::string& requestId) const;
    std::vector<entry_ptr_t> blockersOf(const scheduler_entry_t& entry) const;
    void enqueue(const entry_ptr_t& entry, actions_t& actions);
    void doom(const entry_ptr_t& entry, actions_t& actions);
    void leave(const entry_ptr_t& entry, actions_t& actions);
    void begin(scheduler_entry_t& entry);
    /// Cancels the requests of all subjects for which the condition holds, in the order of their arrival.
    template <class Condition>
    void doomWhere(Condition condition, actions_t& actions);

    // These without it.
    admission_t admit(const entry_ptr_t& entry, actions_t& actions);
    void carryOut(const actions_t& actions);
    void start(const entry_ptr_t& entry);
    void onBegin(scheduler_entry_t& entry);
    void onFinished(const entry_ptr_t& entry);

    const std::shared_ptr<IRequestDispatcher> m_dispatcher;
    const std::shared_ptr<ITaskDisplacementStrategy> m_strategy;
    const bk2::sptr_t<ISocketClient> m_client;
    bk2::task_system_t& m_tasks;

    // Guards all below and the entries' bookkeeping. Held while strategies are asked, which is quick and
    // takes no lock but those of the handler groups; never while anything is cancelled, started or sent.
    std::mutex m_mutex;
    std::map<subject_t, group_t> m_groups; ///< the entries until they have left; no group is empty
    StartOrder m_order;
    std::uint64_t m_lastNumber = 0;
    std::size_t m_waiting = 0;                           ///< entries that have neither begun nor left
    std::unordered_map<std::string, entry_ptr_t> m_byId; ///< the last entry of each id
    bool m_stopped = false;
};

} // namespace panedeck::host
