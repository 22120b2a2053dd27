#pragma once

// Needed by the host, which runs request tasks, and by the tasks, which name their queue.

#include "basekit/api.h"
#include "basekit/default_task.h"
#include "basekit/sptr.h"

#include <cstddef>
#include <memory>
#include <string>

namespace bk2 {

/// The queues that every task system has.
namespace queue_names {

inline constexpr char main[] = "main";
inline constexpr char service[] = "service";
inline constexpr char long_tasks[] = "long tasks";
inline constexpr char delay_tasks[] = "delay tasks";

} // namespace queue_names

/// Runs tasks on its named queues: "service" on as many threads as there are cores, at least 2, each other
/// one on a thread of its own. Threads start as tasks come. A task of "service" that waits lends its thread's
/// place, see `task_waiting_scope_t`; at most `most_lent_places` are lent at a time. All operations are safe
/// from any thread.
class PANEDECK_API task_system_t {
public:
    task_system_t();
    /// Stops.
    ~task_system_t();
    task_system_t(const task_system_t&) = delete;
    task_system_t& operator=(const task_system_t&) = delete;

    /// Hands a task to the queue of its stage. A task that was cancelled before ends at once, on the calling
    /// thread. False, and the task never runs, if the system was stopped, if the task has no stage or names
    /// an unknown queue (both assertion failures), or if it is under way or run out (see `tf_run_once`).
    bool start(const sptr_t<default_task_t>& task);

    /// Takes no more tasks, cancels all that wait or run, and returns when all threads have ended. Not to be
    /// called from a task. May be called again.
    void stop();

    /// How many threads serve the queue "service" while no task waits.
    static unsigned service_thread_count();
    /// How many more may serve it while tasks wait.
    static constexpr unsigned most_lent_places = 64;

    /// How many threads "service" has at present.
    std::size_t count_service_threads() const;

private:
    struct queues_t;
    std::unique_ptr<queues_t> m_queues; ///< never changes, so it needs no lock
};

} // namespace bk2
